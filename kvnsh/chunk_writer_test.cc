#include "kvnsh/chunk_writer.h"
#include "util/testing/scratch_dir.h"

#include <gtest/gtest.h>
#include <stdio.h>

namespace kvnsh {
namespace {

const uint8_t* bytes(const char* s) { return reinterpret_cast<const uint8_t*>(s); }

std::string slurp(FILE* f) {
  std::string s;
  char buf[1024];
  rewind(f);
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, f)) > 0) s.append(buf, n);
  return s;
}

TEST(ChunkWriterTest, TextBetweenBinaryChunksEndsTheBase64Line) {
  FILE* f = tmpfile();
  ChunkWriter w(fileno(f), nullptr);
  ASSERT_TRUE(w.write(1, bytes("f"), 1));
  ASSERT_TRUE(w.write(0, bytes("note\n"), 5));
  ASSERT_TRUE(w.write(1, bytes("foo"), 3));
  std::string note;
  ASSERT_TRUE(w.finish(true, &note));
  EXPECT_EQ(slurp(f), "Zg==\nnote\nZm9v\n");
  EXPECT_EQ(note, "");
  fclose(f);
}

TEST(ChunkWriterTest, BinaryGoesToTheFileAndTextStaysOnTheTerminal) {
  const kvn::testing::ScratchDir dir;
  OutputFile file(dir.file("d.bin"));
  FILE* f = tmpfile();
  ChunkWriter w(fileno(f), &file);
  ASSERT_TRUE(w.write(1, bytes("LPP\n"), 4));
  ASSERT_TRUE(w.write(0, bytes("ok\n"), 3));
  ASSERT_TRUE(w.write(1, bytes("\0\1"), 2));
  std::string note;
  ASSERT_TRUE(w.finish(true, &note));
  EXPECT_EQ(slurp(f), "ok\n");
  EXPECT_EQ(note, "6 bytes of binary output written to " + dir.file("d.bin"));
  EXPECT_EQ(dir.read(dir.file("d.bin")), std::string("LPP\n\0\1", 6));
  fclose(f);
}

}  // namespace
}  // namespace kvnsh
