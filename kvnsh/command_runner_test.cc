#include "kvnsh/command_runner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <deque>

#include "kvnsh/exit_status.h"
#include "kvnsh/wire_header.h"

namespace kvnsh {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr MailboxId kService = 77;
constexpr uint16_t kMe = 9;
constexpr uint16_t kLife = 300;

struct Sent {
  MailboxId to;
  WireHeader header;
  std::vector<uint8_t> bytes;
  uint16_t body16() const { return loadBe16(&bytes[12]); }
};

// Plays the service: the test queues its messages; sends are recorded. When the queue is empty,
// `idle` may react (queue more, raise an interrupt); a wait without end is cut off by a gone
// message so that a faulty runner fails the test instead of hanging it.
class FakeMailbox : public Mailbox {
 public:
  MailboxId locate(const std::string&) override { return located; }
  bool send(MailboxId to, const uint8_t* data, size_t size) override {
    Sent s{to, {}, std::vector<uint8_t>(data, data + size)};
    EXPECT_TRUE(WireHeader::decode(data, size, &s.header));
    sent.push_back(s);
    if (onSend) onSend(sent.back());
    return true;
  }
  bool receive(uint32_t, Received* out) override {
    if (queue.empty() && idle) idle();
    if (queue.empty() && ++idleRounds > 50) gone();
    if (queue.empty()) return false;
    current = std::move(queue.front());
    queue.pop_front();
    out->sender = kService;
    out->data = current.data();
    out->size = current.size();
    return true;
  }
  MonitorId monitor(MailboxId m) override {
    watched.push_back(m);
    return 5;
  }
  void unmonitor(MonitorId id) override { unwatched.push_back(id); }

  void push(uint16_t dst, uint16_t src, uint16_t submsg, std::vector<uint8_t> body = {}) {
    std::vector<uint8_t> m(kHeaderSize);
    WireHeader{dst, src, submsg}.encode(m.data());
    m.insert(m.end(), body.begin(), body.end());
    queue.push_back(std::move(m));
  }
  void accept(uint16_t to = kMe) { push(to, kLife, kCommandAccepted); }
  void text(uint16_t from, const std::string& t, uint16_t seq = 0, uint16_t stream = 0,
            uint16_t to = kMe) {
    std::vector<uint8_t> body(6);
    storeBe16(&body[0], seq);
    storeBe16(&body[2], stream);
    storeBe16(&body[4], static_cast<uint16_t>(t.size()));
    body.insert(body.end(), t.begin(), t.end());
    body.resize(body.size() + 20);  // the service allocates 20 bytes more
    push(to, from, kPrintInd, body);
  }
  void end(uint8_t result) { push(kMe, 500, kCommandEnded, {result, 0}); }
  void refuse(uint32_t reason) {
    std::vector<uint8_t> body(8);
    storeBe32(&body[0], 1);
    storeBe32(&body[4], reason);
    push(kMe, 501, kCommandRefused, body);
  }
  void gone() {
    std::vector<uint8_t> m(4);
    memcpy(m.data(), &kMailboxGone, 4);
    queue.push_back(m);
  }
  std::vector<Sent> sentOf(uint16_t submsg) const {
    std::vector<Sent> out;
    for (const Sent& s : sent)
      if (s.header.submsgno == submsg) out.push_back(s);
    return out;
  }

  std::deque<std::vector<uint8_t>> queue;
  std::vector<uint8_t> current;
  std::vector<Sent> sent;
  std::vector<MailboxId> watched;
  std::vector<MonitorId> unwatched;
  std::function<void()> idle;
  std::function<void(const Sent&)> onSend;
  int idleRounds = 0;
  MailboxId located = kService;
};

class CommandRunnerTest : public ::testing::Test {
 protected:
  CommandRunnerTest() : outFile_(tmpfile()) {}
  ~CommandRunnerTest() override { fclose(outFile_); }

  // `zoth info`, its output to `fd` when one is given.
  int run(int fd = -1) {
    ChunkWriter out(fd < 0 ? fileno(outFile_) : fd, nullptr);
    CommandRunner runner(
        mbox_, out, [this] { return interrupts_; },
        [this](const std::string& s) { notes_.push_back(s); });
    return runner.run("svc", kService, kMe, {"zoth", "info"});
  }
  std::string output() {
    std::string s;
    char buf[4096];
    rewind(outFile_);
    size_t n;
    while ((n = fread(buf, 1, sizeof buf, outFile_)) > 0) s.append(buf, n);
    return s;
  }

  FakeMailbox mbox_;
  unsigned interrupts_ = 0;
  std::vector<std::string> notes_;
  FILE* outFile_;
};

TEST_F(CommandRunnerTest, PrintsConfirmsEachChunkAndClosesAfterTheEnd) {
  mbox_.accept();
  mbox_.text(401, "first\n");
  mbox_.text(402, "second\n");
  mbox_.end(3);
  EXPECT_EQ(run(), 3);
  EXPECT_EQ(output(), "first\nsecond\n");

  ASSERT_GE(mbox_.sent.size(), 1u);
  EXPECT_EQ(mbox_.sent[0].to, kService);
  EXPECT_EQ(mbox_.sent[0].header.submsgno, kCommandReq);
  EXPECT_EQ(mbox_.sent[0].header.src, kMe);
  const std::vector<Sent> confirms = mbox_.sentOf(kPrintInd);
  ASSERT_EQ(confirms.size(), 2u);
  EXPECT_EQ(confirms[0].header.dst, 401);
  EXPECT_EQ(confirms[1].header.dst, 402);
  EXPECT_EQ(confirms[1].bytes.size(), kConfirmSize);
  const std::vector<Sent> aborts = mbox_.sentOf(kAbortInd);
  ASSERT_EQ(aborts.size(), 1u);
  EXPECT_EQ(aborts[0].header.dst, kLife);
  EXPECT_EQ(aborts[0].header.src, kMe);
  EXPECT_EQ(aborts[0].bytes.size(), kAbortSize);
  // The abort comes after the last confirm, and the watch is given back.
  EXPECT_EQ(mbox_.sent.back().header.submsgno, kAbortInd);
  EXPECT_THAT(mbox_.watched, ElementsAre(kService));
  EXPECT_THAT(mbox_.unwatched, ElementsAre(5u));
}

TEST_F(CommandRunnerTest, ConfirmCarriesTheChunkSequenceAndBinaryIsBase64) {
  mbox_.accept();
  mbox_.text(401, "LPP\n", 0, 1);
  mbox_.text(402, std::string("\x00\x01\x02", 3), 1, 1);
  mbox_.text(403, "ab", 2, 1);
  mbox_.end(0);
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(output(), "TFBQCgABAmFi\n");
  const std::vector<Sent> confirms = mbox_.sentOf(kPrintInd);
  ASSERT_EQ(confirms.size(), 3u);
  for (uint16_t i = 0; i < 3; ++i) EXPECT_EQ(confirms[i].body16(), i);
}

TEST_F(CommandRunnerTest, RefusalsHaveTheirOwnStatuses) {
  mbox_.refuse(1);
  EXPECT_EQ(run(), kExitRefusedVersion);
  EXPECT_THAT(notes_.back(), HasSubstr("bad protocol version (reason 1)"));
  mbox_.refuse(9);
  EXPECT_EQ(run(), kExitProtocolError);
  EXPECT_TRUE(mbox_.sentOf(kAbortInd).empty());
}

TEST_F(CommandRunnerTest, ServiceDeathOrLossEndsTheWait) {
  mbox_.accept();
  mbox_.text(401, "partial");
  mbox_.gone();
  EXPECT_EQ(run(), kExitServiceGone);
  EXPECT_EQ(output(), "partial");
  EXPECT_THAT(notes_.back(), HasSubstr("went away"));

  mbox_.accept();
  mbox_.located = kNoMailbox;  // the hub went away, and the watch with it
  EXPECT_EQ(run(), kExitServiceGone);
  EXPECT_THAT(notes_.back(), HasSubstr("lost the service"));
}

TEST_F(CommandRunnerTest, InterruptBeforeAcceptAbortsOnceAcceptedAndWaitsForTheEnd) {
  interrupts_ = 4;  // earlier Ctrl-Cs do not count
  mbox_.onSend = [this](const Sent& s) {
    if (s.header.submsgno == kCommandReq) ++interrupts_;
  };
  int step = 0;
  mbox_.idle = [&] {
    if (step++ == 0)
      mbox_.accept();
    else if (!mbox_.sentOf(kAbortInd).empty() && step < 10)
      mbox_.end(1), step = 10;
  };
  EXPECT_EQ(run(), 1);
  ASSERT_EQ(mbox_.sentOf(kAbortInd).size(), 1u);  // no second abort after the end
  EXPECT_EQ(mbox_.sentOf(kAbortInd)[0].header.dst, kLife);
  EXPECT_THAT(notes_[0], HasSubstr("aborting the command"));
}

TEST_F(CommandRunnerTest, SecondInterruptStopsWaiting) {
  mbox_.accept();
  int step = 0;
  mbox_.idle = [&] {
    if (step++ < 2) ++interrupts_;
  };
  EXPECT_EQ(run(), kExitInterrupted);
  EXPECT_EQ(mbox_.sentOf(kAbortInd).size(), 1u);
}

TEST_F(CommandRunnerTest, LateMessagesOfAnEarlierCommandAreSettledNotPrinted) {
  mbox_.text(401, "old text", 0, 0, /*to=*/kMe - 1);
  mbox_.accept(kMe - 1);
  mbox_.accept();
  mbox_.end(0);
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(output(), "");
  ASSERT_EQ(mbox_.sentOf(kPrintInd).size(), 1u);  // the old print routine is released
  EXPECT_EQ(mbox_.sentOf(kPrintInd)[0].header.dst, 401);
  const std::vector<Sent> aborts = mbox_.sentOf(kAbortInd);
  ASSERT_EQ(aborts.size(), 2u);  // the old life routine, and ours after the end
  EXPECT_EQ(aborts[0].header.src, kMe - 1);
  EXPECT_EQ(aborts[1].header.src, kMe);
}

TEST_F(CommandRunnerTest, TextLongerThanItsMessageIsNotRead) {
  mbox_.accept();
  mbox_.text(401, "ok");
  mbox_.queue.back().resize(kTextHeadSize + 1);  // cut: length says 2, one byte came
  mbox_.end(0);
  EXPECT_EQ(run(), 0);
  EXPECT_EQ(output(), "");
  EXPECT_TRUE(mbox_.sentOf(kPrintInd).empty());
}

TEST_F(CommandRunnerTest, UnwritableOutputAbortsTheCommand) {
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  close(fds[0]);
  signal(SIGPIPE, SIG_IGN);
  mbox_.accept();
  mbox_.text(401, "lost");
  mbox_.idle = [this] {
    if (mbox_.sentOf(kAbortInd).size() == 1 && mbox_.sentOf(kCommandEnded).empty()) mbox_.end(1);
  };
  EXPECT_EQ(run(fds[1]), kExitOutputFailed);
  close(fds[1]);
  EXPECT_EQ(mbox_.sentOf(kAbortInd).size(), 1u);
  EXPECT_EQ(mbox_.sentOf(kPrintInd).size(), 1u);  // confirmed all the same
  EXPECT_THAT(notes_[0], HasSubstr("cannot write the output"));
}

}  // namespace
}  // namespace kvnsh
