#include "service/measurements/echo_cmd_session.h"

#include <string.h>

#include <sstream>
#include <utility>

#include "service/agents/daxo_trace_model.h"
#include "tracing/log.h"

namespace kvn {

namespace {
constexpr uint32_t kFirstVersionWithEcho = 3;
}

EchoCmdSession::EchoCmdSession(std::vector<uint16_t> daxos, std::string text)
    : daxos(std::move(daxos)), text(std::move(text)) {}

void EchoCmdSession::fill(KvnTraceObjectInjectManualTraceUreqS* msg, const std::string& text) {
  const size_t words = wordsFor(text);
  msg->nrOfWords = static_cast<uint16_t>(words);
  uint8_t* out =
      reinterpret_cast<uint8_t*>(msg) + offsetof(KvnTraceObjectInjectManualTraceUreqS, text);
  for (size_t i = 0; i < words; ++i) {
    const uint8_t first = static_cast<uint8_t>(text[2 * i]);
    const uint8_t second = 2 * i + 1 < text.size() ? static_cast<uint8_t>(text[2 * i + 1]) : 0;
    // A host-order word whose big-endian form is the two bytes in their order.
    const uint16_t word = static_cast<uint16_t>(first << 8 | second);
    memcpy(out + 2 * i, &word, sizeof word);
  }
}

void EchoCmdSession::start() {
  std::ostringstream out;
  for (uint16_t n : daxos) {
    const DaxoRecord& record = DaxoTraceModel::get(n);
    if (record.version < kFirstVersionWithEcho) {
      out << "Echo is not supported in " << record.instanceName << "/" << record.domainDaxoIndex
          << "\n";
      continue;
    }
    if (text.size() > kMaxTextBytes) {  // the parser refuses such a text; never wrap the count
      out << "Echo text is too long for daxo " << n << "\n";
      continue;
    }
    TC_LOG_INFO("Sending InjectManualTraceUreq to daxo %u", n);
    const auto& proxy = record.traceObjectManager.proxy;
    auto* msg = reinterpret_cast<KvnTraceObjectInjectManualTraceUreqS*>(
        proxy->alloc_msg(KvnTraceObjectInjectManualTraceUreqS::sizeFor(wordsFor(text))));
    fill(msg, text);
    proxy->send(msg);
  }
  if (!out.str().empty()) print(out.str());
  end(0);
}

}  // namespace kvn
