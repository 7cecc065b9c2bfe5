#include "daxo-sim/trace_hit_counter_handler.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

#include <nlohmann/json.hpp>

#include "base/big_endian.h"

namespace kvn::daxosim {

namespace {

constexpr uint16_t kInfoReq = 0, kInfoCfm = 1, kDataReq = 2, kDataCfm = 3, kClearReq = 4,
                   kClearCfm = 5;

}  // namespace

void TraceHitCounterHandler::handle(const Request& request, const ReplyPath& reply,
                                    nlohmann::json& entry) {
  std::vector<uint8_t> body;
  switch (request.submsgno) {
    case kInfoReq:
      appendBe32(body, table_.droppedHits);
      appendBe32(body, table_.droppedStrids);
      appendBe32(body, 0);
      appendBe32(body, static_cast<uint32_t>(table_.rows.size()));
      entry["nrOfEntries"] = table_.rows.size();
      reply.send(kInfoCfm, body);
      return;
    case kDataReq: {
      if (request.bodySize < 2) throw std::runtime_error("data request without a first index");
      const size_t first = static_cast<size_t>(request.body[0] << 8 | request.body[1]);
      const size_t count = first < table_.rows.size()
                               ? std::min<size_t>(table_.rows.size() - first, table_.rowsPerConfirm)
                               : 0;
      appendBe16(body, static_cast<uint16_t>(count));
      appendBe16(body, static_cast<uint16_t>(first));
      for (size_t i = first; i < first + count; ++i) {
        const AgentDescription::HitCounterRow& r = table_.rows[i];
        appendBe16(body, r.strid);
        appendBe16(body, r.traceGroup);
        for (uint32_t v : {r.args[0], r.args[1], r.args[2], r.counter, r.firstHit, r.lastHit})
          appendBe32(body, v);
      }
      entry["firstIndex"] = first;
      entry["rows"] = count;
      reply.send(kDataCfm, body);
      return;
    }
    case kClearReq:
      entry["cleared"] = table_.rows.size();
      table_.rows.clear();
      table_.droppedHits = 0;
      table_.droppedStrids = 0;
      reply.send(kClearCfm, body);
      return;
    default:
      entry["answered"] = false;
  }
}

}  // namespace kvn::daxosim
