#include "kvnsh/output_file.h"
#include "util/testing/scratch_dir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

namespace kvnsh {
namespace {

class OutputFileTest : public ::testing::Test {
 protected:
  OutputFileTest() : dir_(scratch_.path()), path_(scratch_.file("dump.bin")) {}
  static std::string slurp(const std::string& p) {
    std::ifstream f(p, std::ios::binary);
    std::stringstream s;
    s << f.rdbuf();
    return s.str();
  }
  static bool exists(const std::string& p) { return access(p.c_str(), F_OK) == 0; }
  bool write(OutputFile& f, const std::string& s) {
    return f.write(reinterpret_cast<const uint8_t*>(s.data()), s.size(), &error_);
  }

  kvn::testing::ScratchDir scratch_;
  std::string dir_, path_, error_;
};

TEST_F(OutputFileTest, SuccessReplacesTheTargetAtOnce) {
  std::ofstream(path_) << "old";
  OutputFile f(path_);
  ASSERT_TRUE(write(f, "ab"));
  ASSERT_TRUE(write(f, "cd"));
  EXPECT_EQ(slurp(path_), "old");  // nothing half written under the name
  EXPECT_EQ(f.bytes(), 4u);
  EXPECT_EQ(f.close(true, &error_), path_);
  EXPECT_EQ(slurp(path_), "abcd");
  EXPECT_FALSE(f.started());
}

TEST_F(OutputFileTest, FailureKeepsTheTargetAndThePartialData) {
  std::ofstream(path_) << "old";
  OutputFile f(path_);
  ASSERT_TRUE(write(f, "ab"));
  EXPECT_EQ(f.close(false, &error_), path_ + ".partial");
  EXPECT_EQ(slurp(path_), "old");
  EXPECT_EQ(slurp(path_ + ".partial"), "ab");
}

TEST_F(OutputFileTest, NothingWrittenTouchesNothing) {
  OutputFile f(path_);
  EXPECT_EQ(f.close(true, &error_), "");
  EXPECT_FALSE(exists(path_));
}

TEST_F(OutputFileTest, UnwritableDirectoryIsAClearError) {
  OutputFile f(dir_ + "/no/such/dir/x");
  EXPECT_FALSE(write(f, "ab"));
  EXPECT_THAT(error_, ::testing::HasSubstr("cannot create a file beside"));
}

}  // namespace
}  // namespace kvnsh
