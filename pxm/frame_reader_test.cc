#include "pxm/frame_reader.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace pxm {
namespace {

class FrameReaderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, fds_), 0);
    int size = 4 << 20;
    ::setsockopt(fds_[1], SOL_SOCKET, SO_SNDBUF, &size, sizeof size);
  }
  void TearDown() override {
    ::close(fds_[0]);
    if (fds_[1] >= 0) ::close(fds_[1]);
  }

  static std::string frame(uint16_t type, const std::string& body, uint16_t flags = 0) {
    const FrameHeader header{static_cast<uint32_t>(body.size()), type, flags};
    return std::string(reinterpret_cast<const char*>(&header), sizeof header) + body;
  }
  void write(const std::string& bytes) {
    ASSERT_EQ(::send(fds_[1], bytes.data(), bytes.size(), 0), static_cast<ssize_t>(bytes.size()));
  }
  void closeWriter() {
    ::close(fds_[1]);
    fds_[1] = -1;
  }
  FrameReader::Status read(bool accept = true) {
    return reader_.readFrom(fds_[0], [&](const FrameHeader& header, const char* body) {
      got_.emplace_back(std::to_string(header.type) + ":" + std::string(body, header.length));
      return accept;
    });
  }

  int fds_[2] = {-1, -1};
  FrameReader reader_;
  std::vector<std::string> got_;
};

TEST_F(FrameReaderTest, FramesInPiecesComeOutWholeAndInOrder) {
  const std::string stream = frame(1, "hello") + frame(2, "") + frame(3, std::string(300, 'z'));
  for (char c : stream) {
    write(std::string(1, c));
    ASSERT_EQ(read(), FrameReader::Status::kOk);
  }
  EXPECT_EQ(got_, (std::vector<std::string>{"1:hello", "2:", "3:" + std::string(300, 'z')}));
  EXPECT_FALSE(reader_.midFrame());
}

TEST_F(FrameReaderTest, ManySmallFramesInOneReadAndOneBigFrame) {
  std::string stream;
  for (int i = 0; i < 100; ++i) stream += frame(4, std::to_string(i));
  write(stream);
  ASSERT_EQ(read(), FrameReader::Status::kOk);
  ASSERT_EQ(got_.size(), 100u);
  EXPECT_EQ(got_[99], "4:99");

  got_.clear();
  std::string big(3 << 20, '\0');
  for (size_t i = 0; i < big.size(); ++i) big[i] = static_cast<char>(i % 251);
  const std::string whole = frame(5, big);
  // The announced length takes no memory ahead of the bytes.
  write(whole.substr(0, 100));
  ASSERT_EQ(read(), FrameReader::Status::kOk);
  EXPECT_EQ(reader_.held(), 100u);
  const size_t part = 2 * FrameReader::kChunk;
  write(whole.substr(100, part - 100));
  ASSERT_EQ(read(), FrameReader::Status::kOk);
  ASSERT_EQ(read(), FrameReader::Status::kOk);
  EXPECT_EQ(reader_.held(), part) << "grows by doubling, as the bytes come";
  EXPECT_EQ(reader_.readFrom(
                fds_[0], [](const FrameHeader&, const char*) { return true; }, 100),
            FrameReader::Status::kNoRoom);
  EXPECT_EQ(reader_.growth(), part);
  write(whole.substr(part));
  for (int i = 0; i < 1000 && got_.empty(); ++i) ASSERT_EQ(read(), FrameReader::Status::kOk);
  ASSERT_EQ(got_.size(), 1u);
  EXPECT_TRUE(got_[0] == "5:" + big);
  EXPECT_EQ(reader_.held(), 0u) << "its room goes back once it is done";
}

TEST_F(FrameReaderTest, BadHeadersAreRefusedBeforeTheirBody) {
  write(frame(1, "ok"));
  const FrameHeader huge{static_cast<uint32_t>(kMaxFrameBody + 1), 4, 0};
  write(std::string(reinterpret_cast<const char*>(&huge), sizeof huge));
  EXPECT_EQ(read(), FrameReader::Status::kMalformed);
  EXPECT_EQ(got_.size(), 1u) << "what came before still counts";

  TearDown();
  SetUp();
  FrameReader other;
  write(frame(1, "x", /*flags=*/1));
  EXPECT_EQ(other.readFrom(fds_[0], [](const FrameHeader&, const char*) { return true; }),
            FrameReader::Status::kMalformed);
}

TEST_F(FrameReaderTest, EndOfStreamBetweenAndWithinFrames) {
  write(frame(1, "a"));
  closeWriter();
  EXPECT_EQ(read(), FrameReader::Status::kOk);  // one read per call: the data first
  EXPECT_EQ(got_.size(), 1u);
  EXPECT_EQ(read(), FrameReader::Status::kClosed);

  TearDown();
  SetUp();
  write(frame(1, "abcdef").substr(0, 11));
  EXPECT_EQ(read(), FrameReader::Status::kOk);
  EXPECT_TRUE(reader_.midFrame());
  closeWriter();
  EXPECT_EQ(read(), FrameReader::Status::kTruncated);
}

TEST_F(FrameReaderTest, RefusedFrameStopsTheReading) {
  write(frame(1, "a") + frame(2, "b"));
  EXPECT_EQ(read(/*accept=*/false), FrameReader::Status::kRejected);
  EXPECT_EQ(got_.size(), 1u);
}

}  // namespace
}  // namespace pxm
