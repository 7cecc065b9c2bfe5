#include "kvnsh/output_file.h"
#include "util/testing/scratch_dir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace kvnsh {
namespace {

using kvn::testing::ScratchDir;

class OutputFileTest : public ::testing::Test {
 protected:
  bool write(OutputFile& f, const std::string& s) {
    return f.write(reinterpret_cast<const uint8_t*>(s.data()), s.size(), &error_);
  }

  ScratchDir scratch_;
  std::string path_ = scratch_.file("dump.bin"), error_;
};

TEST_F(OutputFileTest, SuccessReplacesTheTargetAtOnce) {
  scratch_.write("dump.bin", "old");
  OutputFile f(path_);
  ASSERT_TRUE(write(f, "ab"));
  ASSERT_TRUE(write(f, "cd"));
  EXPECT_EQ(ScratchDir::read(path_), "old");  // nothing half written under the name
  EXPECT_EQ(f.bytes(), 4u);
  EXPECT_EQ(f.close(true, &error_), path_);
  EXPECT_EQ(ScratchDir::read(path_), "abcd");
  EXPECT_FALSE(f.started());
}

TEST_F(OutputFileTest, FailureKeepsTheTargetAndThePartialData) {
  scratch_.write("dump.bin", "old");
  OutputFile f(path_);
  ASSERT_TRUE(write(f, "ab"));
  EXPECT_EQ(f.close(false, &error_), path_ + ".partial");
  EXPECT_EQ(ScratchDir::read(path_), "old");
  EXPECT_EQ(ScratchDir::read(path_ + ".partial"), "ab");
}

TEST_F(OutputFileTest, NothingWrittenTouchesNothing) {
  OutputFile f(path_);
  EXPECT_EQ(f.close(true, &error_), "");
  EXPECT_NE(access(path_.c_str(), F_OK), 0);
}

TEST_F(OutputFileTest, UnwritableDirectoryIsAClearError) {
  OutputFile f(scratch_.file("no/such/dir/x"));
  EXPECT_FALSE(write(f, "ab"));
  EXPECT_THAT(error_, ::testing::HasSubstr("cannot create a file beside"));
}

}  // namespace
}  // namespace kvnsh
