#include "kvnsh/base64.h"

#include <gtest/gtest.h>

namespace kvnsh {
namespace {

std::string streamed(const std::string& data, size_t piece) {
  Base64 b;
  std::string out;
  for (size_t i = 0; i < data.size(); i += piece)
    b.feed(reinterpret_cast<const uint8_t*>(data.data()) + i, std::min(piece, data.size() - i),
           &out);
  b.finish(&out);
  return out;
}

TEST(Base64Test, StandardVectors) {
  const char* in[] = {"", "f", "fo", "foo", "foob", "fooba", "foobar"};
  const char* want[] = {"", "Zg==", "Zm8=", "Zm9v", "Zm9vYg==", "Zm9vYmE=", "Zm9vYmFy"};
  for (int i = 0; i < 7; ++i) {
    EXPECT_EQ(Base64::encode(in[i], strlen(in[i])), want[i]);
    EXPECT_EQ(streamed(in[i], 1), *want[i] ? std::string(want[i]) + "\n" : "");
  }
  const uint8_t high[] = {0xfb, 0xff, 0xfe};
  EXPECT_EQ(Base64::encode(high, 3), "+//+");
}

TEST(Base64Test, PiecesEncodeAsOneWholeWrappedAt76) {
  std::string data;
  for (int i = 0; i < 1000; ++i) data.push_back(static_cast<char>(i * 7));
  const std::string whole = Base64::encode(data.data(), data.size());
  std::string wrapped;
  for (size_t i = 0; i < whole.size(); i += 76) wrapped += whole.substr(i, 76) + "\n";
  for (size_t piece : {1, 2, 3, 4, 5, 57, 100, 1000}) EXPECT_EQ(streamed(data, piece), wrapped);
}

TEST(Base64Test, FinishResetsAndLeavesNothingOpen) {
  Base64 b;
  std::string out;
  b.finish(&out);
  EXPECT_EQ(out, "");
  const uint8_t one = 'f';
  b.feed(&one, 1, &out);
  EXPECT_TRUE(b.open());
  b.finish(&out);
  b.feed(&one, 1, &out);
  b.finish(&out);
  EXPECT_EQ(out, "Zg==\nZg==\n");
  EXPECT_FALSE(b.open());
}

}  // namespace
}  // namespace kvnsh
