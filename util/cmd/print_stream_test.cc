#include "util/cmd/print_stream.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tavi/tavi_protocol.h"

namespace kvn {
namespace {

// Written a piece at a time, a text leaves in the chunks that printing it whole would give: full
// chunks, then the rest; one empty chunk for no text, and no empty chunk after full ones.
TEST(PrintStreamTest, CutsWhereAWholePrintWould) {
  const size_t max = tavi::kMaxChunk;
  for (size_t size : {size_t{0}, size_t{1}, max - 1, max, max + 1, 2 * max, 2 * max + 1}) {
    SCOPED_TRACE(size);
    std::string text;
    for (size_t i = 0; i < size; ++i) text += static_cast<char>('a' + i % 26);
    std::vector<std::string> chunks;
    PrintStream out(
        [&chunks](const char* data, size_t length) { chunks.emplace_back(data, length); });
    for (size_t at = 0; at < size; at += 7) out << text.substr(at, 7);
    out.finish();

    std::vector<std::string> whole;
    size_t at = 0;
    do {
      whole.push_back(text.substr(at, max));
      at += max;
    } while (at < size);
    EXPECT_EQ(chunks, whole);
  }
}

}  // namespace
}  // namespace kvn
