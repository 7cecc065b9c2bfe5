#include "service/measurements/trace_hit_counter_read_cmd_session.h"

#include <string.h>

#include <algorithm>
#include <functional>
#include <utility>

#include "service/agents/daxo_trace_model.h"
#include "service/measurements/trace_hit_table.h"
#include "service/signals/signal_byte_order.h"
#include "service/tracecontrol/utrace_format_cache.h"
#include "tracing/log.h"

namespace kvn {

namespace {

constexpr size_t kEntriesOffset = offsetof(KvnTraceHitCounterDataCfmS, entries);
// `firstIndex` is 16 bits wide: rows beyond this can't be asked for.
constexpr uint32_t kLastAddressableRow = 0xFFFF;

}  // namespace

TraceHitCounterReadCmdSession::TraceHitCounterReadCmdSession(std::vector<uint16_t> daxos)
    : TraceHitCounterCmdSession(std::move(daxos)) {}

void TraceHitCounterReadCmdSession::start() {
  if (!claim()) return;
  for (uint16_t n : daxos) {
    const auto& proxy = DaxoTraceModel::get(n).traceHitCounter.proxy;
    auto* req = proxy->make<KvnTraceHitCounterInfoReqS>();
    std::function<void(KvnTraceHitCounterInfoCfmS*&, size_t)> onCfm =
        [this, n](KvnTraceHitCounterInfoCfmS*& cfm, size_t size) { onInfo(n, cfm, size); };
    awaitingInfo.insert(n);
    ++pending;
    proxy->send(req, getKillableCallback(std::move(onCfm)));
  }
}

void TraceHitCounterReadCmdSession::onInfo(uint16_t agent, const KvnTraceHitCounterInfoCfmS* cfm,
                                           size_t size) {
  if (ended || awaitingInfo.erase(agent) == 0) return;
  --pending;
  // Words that a short confirm does not hold read as 0.
  TraceHitCounterInfo& info = infos[agent];
  info.droppedHits =
      kvnsig::readAt<uint32_t>(cfm, offsetof(KvnTraceHitCounterInfoCfmS, droppedHits), size);
  info.droppedStrids =
      kvnsig::readAt<uint32_t>(cfm, offsetof(KvnTraceHitCounterInfoCfmS, droppedStrids), size);
  info.reserved =
      kvnsig::readAt<uint32_t>(cfm, offsetof(KvnTraceHitCounterInfoCfmS, reserved), size);
  info.nrOfEntries =
      kvnsig::readAt<uint32_t>(cfm, offsetof(KvnTraceHitCounterInfoCfmS, nrOfEntries), size);
  infoCheck();
}

void TraceHitCounterReadCmdSession::infoCheck() {
  if (pending > 0) return;
  if (lost) return finish(1);
  dataPhase = true;
  readAgent(0);
}

void TraceHitCounterReadCmdSession::readAgent(size_t index) {
  current = index;
  hits.clear();
  hits.reserve(std::min(infos[daxos[current]].nrOfEntries, kLastAddressableRow + 1));
  requestRows(0);
}

void TraceHitCounterReadCmdSession::requestRows(uint16_t firstIndex) {
  const auto& proxy = DaxoTraceModel::get(daxos[current]).traceHitCounter.proxy;
  auto* req = proxy->make<KvnTraceHitCounterDataReqS>();
  req->firstIndex = firstIndex;
  std::function<void(KvnTraceHitCounterDataCfmS*&, size_t)> onCfm =
      [this](KvnTraceHitCounterDataCfmS*& cfm, size_t size) { onData(cfm, size); };
  proxy->send(req, getKillableCallback(std::move(onCfm)));
}

void TraceHitCounterReadCmdSession::onData(const KvnTraceHitCounterDataCfmS* cfm, size_t size) {
  if (ended) return;
  const uint16_t agent = daxos[current];
  const uint32_t total = infos[agent].nrOfEntries;
  const uint16_t count =
      kvnsig::readAt<uint16_t>(cfm, offsetof(KvnTraceHitCounterDataCfmS, nrOfEntries), size);
  const uint16_t firstIndex =
      kvnsig::readAt<uint16_t>(cfm, offsetof(KvnTraceHitCounterDataCfmS, firstIndex), size);
  const size_t held = kvnsig::elementsWithin(count, kEntriesOffset, sizeof(TraceHitEntry), size);
  if (held < count)
    TC_LOG_ERROR("Trace hit counter data from daxo %u promises %u rows but holds %u", agent,
                 static_cast<unsigned>(count), static_cast<unsigned>(held));
  const uint32_t remaining = total > firstIndex ? total - firstIndex : 0;
  const uint32_t taken = std::min<uint32_t>(static_cast<uint32_t>(held), remaining);
  const uint8_t* rows = reinterpret_cast<const uint8_t*>(cfm) + kEntriesOffset;
  for (uint32_t i = 0; i < taken; ++i) {
    TraceHitEntry e;
    memcpy(&e, rows + i * sizeof e, sizeof e);
    hits.push_back(e);
  }
  const uint32_t next = firstIndex + taken;
  if (next >= total) return agentComplete();
  if (next > kLastAddressableRow) {
    TC_LOG_ERROR("Trace hit counter table of daxo %u has %u rows; only %u can be read", agent,
                 total, kLastAddressableRow);
    return agentComplete();
  }
  requestRows(static_cast<uint16_t>(next));
}

void TraceHitCounterReadCmdSession::agentComplete() {
  const uint16_t agent = daxos[current];
  const DaxoRecord& record = DaxoTraceModel::get(agent);
  // Read anew for every agent, so that a new container is used at once.
  UtraceFormatCache strings;
  strings.load(agent, record.lmcPath, record.loadModuleName);
  static const std::vector<std::string> kNone;
  const std::vector<std::string>* table = strings.tableFor(agent);
  text << "snid = " << agent << "\n"
       << TraceHitTable(infos[agent], hits, table ? *table : kNone, record.uTraceIndex,
                        record.uTracePoints)
              .text();
  if (current + 1 < daxos.size()) return readAgent(current + 1);
  finish(0);
}

void TraceHitCounterReadCmdSession::handleEvent(kvntrace::EventId event) {
  const uint16_t* lostOne = lostAgent(event);
  if (!lostOne) return;
  const uint16_t agent = *lostOne;
  if (dataPhase) {
    text << "Lost daxo " << agent << " while retrieving trace hit table\n";
    return finish(1);
  }
  text << "Could not get trace hit counter info due to loss of daxo " << agent << "\n";
  lost = true;
  // An agent that has answered already is not waited for; its table can't be read either.
  if (awaitingInfo.erase(agent) == 0) return;
  --pending;
  infoCheck();
}

}  // namespace kvn
