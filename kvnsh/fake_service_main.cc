// kvnsh-fake-service: plays the service's session factory (routine 1) for the shell's process
// tests, with answers scripted by the command's first word after the root:
//   end N        accept, end with result N
//   chunks       accept, three text chunks, each sent after the confirm of the one before, end 0
//   dump         accept, stream-1 chunks "LPP\n" (sequence 0), then two binary ones (1, 2),
//                paced by confirms, end 0
//   refuse N     refusal with reason N
//   die          accept, one chunk, and exit once it is confirmed
//   wait         accept, one chunk, then wait for the abort; answer it with a chunk and result 1
//   echo ...     accept, print the words joined by '|', end 0
// Anything else is refused with reason 2. Every message it gets is written as a line to
// standard output, which the tests read.

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <deque>
#include <string>
#include <vector>

#include "kvnsh/pxm_mailbox.h"
#include "kvnsh/wire_header.h"

namespace {

using namespace kvnsh;

constexpr uint16_t kTempRoutine = 600;

struct Chunk {
  std::string text;
  uint16_t sequence;
  uint16_t stream;
};

class FakeService {
 public:
  explicit FakeService(PxmMailbox& mbox) : mbox_(mbox) {}

  void run() {
    for (;;) {
      Mailbox::Received m;
      if (!mbox_.receive(1000, &m)) continue;
      WireHeader h;
      if (!WireHeader::decode(m.data, m.size, &h)) {
        journal("unexpected message of %zu bytes", m.size);
        continue;
      }
      if (h.dst == kFactoryRoutine && h.submsgno == kCommandReq)
        request(m.sender, h, m.data, m.size);
      else if (h.submsgno == kAbortInd)
        abort(h, m.size);
      else if (h.dst >= 400 && h.dst < 600)
        confirm(h, m.data, m.size);
      else
        journal("unexpected submsgno=%u dst=%u src=%u", h.submsgno, h.dst, h.src);
    }
  }

 private:
  void journal(const char* fmt, ...) __attribute__((format(printf, 2, 3))) {
    va_list ap;
    va_start(ap, fmt);
    vprintf(fmt, ap);
    va_end(ap);
    putchar('\n');
    fflush(stdout);
  }

  void send(uint16_t dst, uint16_t src, uint16_t submsg, const std::vector<uint8_t>& body = {}) {
    std::vector<uint8_t> msg(kHeaderSize);
    WireHeader{dst, src, submsg}.encode(msg.data());
    msg.insert(msg.end(), body.begin(), body.end());
    mbox_.send(shell_, msg.data(), msg.size());
  }
  void text(const Chunk& c) {
    std::vector<uint8_t> body(6);
    storeBe16(&body[0], c.sequence);
    storeBe16(&body[2], c.stream);
    storeBe16(&body[4], static_cast<uint16_t>(c.text.size()));
    body.insert(body.end(), c.text.begin(), c.text.end());
    body.resize(body.size() + 20);
    send(shellRoutine_, static_cast<uint16_t>(400 + printed_++ % 200), kPrintInd, body);
  }
  void end(uint8_t result) {
    send(shellRoutine_, kTempRoutine, kCommandEnded, {result, 0});
    journal("end result=%u", result);
    ended_ = true;
  }
  void refuse(uint32_t reason) {
    std::vector<uint8_t> body(8);
    storeBe32(&body[0], kProtocolVersion);
    storeBe32(&body[4], reason);
    send(shellRoutine_, kTempRoutine, kCommandRefused, body);
    journal("refused reason=%u", reason);
  }
  // Sends the next waiting chunk, or what follows the last one.
  void next() {
    if (!pending_.empty()) {
      text(pending_.front());
      pending_.pop_front();
    } else if (scenario_ == "die") {
      journal("dying");
      exit(0);
    } else if (scenario_ == "aborted") {
      end(1);
    } else if (scenario_ != "wait") {
      end(0);
    }
  }

  void request(MailboxId from, const WireHeader& h, const uint8_t* msg, size_t size) {
    shell_ = from;
    shellRoutine_ = h.src;
    std::vector<std::string> words;
    const uint32_t version = loadBe32(msg + 12);
    const unsigned argc = msg[16];
    const size_t len = loadBe16(msg + 18);
    for (size_t off = 0; off < len && 20 + off < size;) {
      const char* w = reinterpret_cast<const char*>(msg + 20 + off);
      const size_t n = strnlen(w, len - off);
      words.emplace_back(w, n);
      off += n + 1;
    }
    std::string joined;
    for (const std::string& w : words) joined += (joined.empty() ? "" : "|") + w;
    journal("request version=%u argc=%u src=%u words=%s", version, argc, h.src, joined.c_str());

    scenario_ = words.size() > 1 ? words[1] : "";
    const int arg = words.size() > 2 ? atoi(words[2].c_str()) : 0;
    ended_ = false;
    pending_.clear();
    if (scenario_ == "refuse") return refuse(static_cast<uint32_t>(arg));
    const bool known = scenario_ == "end" || scenario_ == "chunks" || scenario_ == "dump" ||
                       scenario_ == "die" || scenario_ == "wait" || scenario_ == "echo";
    if (!known) return refuse(2);

    life_ = static_cast<uint16_t>(300 + commands_++);
    send(shellRoutine_, life_, kCommandAccepted);
    if (scenario_ == "end") return end(static_cast<uint8_t>(arg));
    if (scenario_ == "chunks") pending_ = {{"one\n", 0, 0}, {"two\n", 0, 0}, {"three\n", 0, 0}};
    if (scenario_ == "dump")
      pending_ = {{"LPP\n", 0, 1}, {std::string("\0\1\2\3", 4), 1, 1}, {"\xff\xfe", 2, 1}};
    if (scenario_ == "die") pending_ = {{"dying\n", 0, 0}};
    if (scenario_ == "wait") pending_ = {{"waiting\n", 0, 0}};
    if (scenario_ == "echo") pending_ = {{joined + "\n", 0, 0}};
    next();
  }

  void confirm(const WireHeader& h, const uint8_t* msg, size_t size) {
    journal("confirm routine=%u seq=%u size=%zu", h.dst, size >= 14 ? loadBe16(msg + 12) : 0, size);
    next();
  }

  void abort(const WireHeader& h, size_t size) {
    journal("abort dst=%u src=%u size=%zu%s", h.dst, h.src, size, ended_ ? " after end" : "");
    if (h.dst == life_ && !ended_ && scenario_ == "wait") {
      scenario_ = "aborted";
      pending_ = {{"aborted\n", 0, 0}};
      next();
    }
  }

  PxmMailbox& mbox_;
  MailboxId shell_ = kNoMailbox;
  uint16_t shellRoutine_ = 0;
  uint16_t life_ = 0;
  unsigned printed_ = 0;
  unsigned commands_ = 0;
  std::string scenario_;
  std::deque<Chunk> pending_;
  bool ended_ = false;
};

}  // namespace

int main(int argc, char** argv) {
  const char* name = argc > 1 ? argv[1] : "kvn-tracecontroller";
  const char* nameSpace = argc > 2 ? argv[2] : "";
  PxmMailbox mbox;
  std::string error;
  if (!mbox.open(nameSpace, name, &error)) {
    fprintf(stderr, "kvnsh-fake-service: %s\n", error.c_str());
    return 1;
  }
  printf("ready\n");
  fflush(stdout);
  FakeService(mbox).run();
}
