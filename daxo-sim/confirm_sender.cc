#include "daxo-sim/confirm_sender.h"

#include <nlohmann/json.hpp>

namespace kvn::daxosim {

ConfirmSender::ConfirmSender(sim::Journal& journal, Mode mode, std::chrono::milliseconds delay)
    : journal_(journal), mode_(mode), delay_(delay) {}

const char* ConfirmSender::confirm(const ReplyPath& reply, uint16_t submsgno) {
  switch (mode_) {
    case Mode::kAtOnce:
      reply.send(submsgno, {});
      return "sent";
    case Mode::kDelayed:
      held_.push_back({std::chrono::steady_clock::now() + delay_, reply, submsgno});
      return "delayed";
    case Mode::kDropped:
      break;
  }
  return "dropped";
}

void ConfirmSender::sendDue() {
  const auto now = std::chrono::steady_clock::now();
  while (!held_.empty() && held_.front().due <= now) {
    const Held h = held_.front();
    held_.pop_front();
    h.reply.send(h.submsgno, {});
    nlohmann::json entry;
    entry["event"] = "confirm_sent";
    entry["to"] = h.reply.peerRoutine();
    entry["src"] = h.reply.ownRoutine();
    entry["submsgno"] = h.submsgno;
    journal_.write(entry);
  }
}

long ConfirmSender::msUntilNext() const {
  if (held_.empty()) return -1;
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
      held_.front().due - std::chrono::steady_clock::now());
  return left.count() < 0 ? 0 : static_cast<long>(left.count());
}

}  // namespace kvn::daxosim
