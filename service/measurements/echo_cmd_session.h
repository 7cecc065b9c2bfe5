#pragma once
// `zoth echo`: puts the operator's text into the trace stream of each agent, as one message to
// its trace object manager with no answer. Agents before connect version 3 can't take it and
// are named in the output; the command never fails after the parse.

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

#include "service/signals/trace_object_signals.h"
#include "util/cmd/cmd_session.h"

namespace kvn {

class EchoCmdSession : public CmdSession {
 public:
  // The longest text the 16-bit word count of the message can carry.
  static constexpr size_t kMaxTextBytes = 2 * 0xFFFF;

  EchoCmdSession(std::vector<uint16_t> daxos, std::string text);

  void start() override;

  // Fills a message of KvnTraceObjectInjectManualTraceUreqS::sizeFor(words) bytes with `text`,
  // padded with a 0 byte to whole 16-bit words. Each word is stored so that the byte order
  // step of sending puts the text on the wire in its own order.
  static void fill(KvnTraceObjectInjectManualTraceUreqS* msg, const std::string& text);
  static size_t wordsFor(const std::string& text) { return (text.size() + 1) / 2; }

 private:
  std::vector<uint16_t> daxos;
  std::string text;
};

}  // namespace kvn
