#include "service/datapath/recorder_dump_cmd_session.h"

#include <stddef.h>
#include <string.h>

#include <algorithm>
#include <functional>
#include <utility>

#include "service/agents/daxo_trace_model.h"
#include "service/datapath/super_trace_status.h"
#include "service/signals/signal_byte_order.h"
#include "service/signals/signal_proxies.h"
#include "tracing/log.h"

namespace kvn {

namespace {

constexpr uint16_t kLpp = 4;
constexpr size_t kDataOffset = offsetof(KvnSuperTraceBufferDataCfmS, data);

}  // namespace

RecorderDumpCmdSession::RecorderDumpCmdSession(uint16_t daxo, bool base64,
                                               std::vector<uint16_t> sources, int64_t intervalStart,
                                               int64_t duration)
    : daxo(daxo),
      base64(base64 ? 1 : 0),
      sources(std::move(sources)),
      intervalStart(intervalStart),
      duration(duration),
      lostEvent_(DaxoTraceModel::getDaxoLostEvent(daxo)) {
  subscribeEvent(lostEvent_);
}

void RecorderDumpCmdSession::start() {
  if (std::find(sources.begin(), sources.end(), kLpp) == sources.end()) {
    fetchIndex();
    return;
  }
  state_ = kMarker;
  std::function<void(KvnTraceCtrlTaviPrintCfm*&, size_t)> onPrinted =
      [this](KvnTraceCtrlTaviPrintCfm*&, size_t) {
        if (state_ == kMarker) fetchIndex();
      };
  printChunk("LPP\n", 4, 0, base64, getKillableCallback(std::move(onPrinted)));
}

void RecorderDumpCmdSession::fetchIndex() {
  state_ = kFetchingIndex;
  status = std::make_shared<SuperTraceStatus>(
      std::vector<uint16_t>{daxo},
      [this](bool failed, const std::string& text) { indexFetched(failed, text); });
  status->start();
}

void RecorderDumpCmdSession::indexFetched(bool failed, const std::string& text) {
  if (state_ != kFetchingIndex) return;
  if (failed) {
    print(text);
    finish(1);
    return;
  }
  index = status->getIndexes().at(daxo);
  blocks = index->select(sources);
  if (blocks.empty()) {
    finish(0);
    return;
  }
  const SuperTraceBufferIndex::Window window = index->dumpWindow(blocks, intervalStart, duration);
  windowStart = window.start;
  windowEnd = window.end;
  blocks = index->blocksInWindow(blocks, window);
  if (blocks.empty()) {
    finish(0);
    return;
  }
  state_ = kFetchingBlocks;
  for (uint32_t i = 0; i < kWindow && blockPos < blocks.size(); ++i) request();
}

void RecorderDumpCmdSession::request() {
  ++requestedSeq;
  const uint16_t blockId = blocks[blockPos];
  const uint32_t size = index->blockHeaders()[blockId].size;
  asked_[requestedSeq] = {blockId, offset, std::min(size - offset, kMaxRequestWords)};
  send(requestedSeq);
  offset += kMaxRequestWords;
  if (offset >= size) {
    TC_LOG_DEBUG("Dump finished fetching a block. blockId=%u\n", blockId);
    offset = 0;
    ++blockPos;
  }
}

void RecorderDumpCmdSession::send(uint32_t order) {
  const Asked& asked = asked_.at(order);
  SuperTraceBufferProxy& proxy = *DaxoTraceModel::get(daxo).embuf.superTraceBufferProxy;
  auto* msg = proxy.make<KvnSuperTraceBufferDataReqS>();
  msg->blockId = asked.blockId;
  msg->seqNum = static_cast<uint16_t>(order);
  msg->offset = asked.offset;
  msg->length = asked.length;
  std::function<void(KvnSuperTraceBufferDataCfmS*&, size_t)> onCfm =
      [this, order](KvnSuperTraceBufferDataCfmS*& cfm, size_t msgsize) {
        confirmed(order, cfm, msgsize);
      };
  proxy.send(msg, getKillableCallback(std::move(onCfm)));
}

// `order` is the request this confirm answers: each request has its own waiting routine.
void RecorderDumpCmdSession::confirmed(uint32_t order, const void* msg, size_t msgsize) {
  if (state_ != kFetchingBlocks) return;
  const auto* cfm = static_cast<const KvnSuperTraceBufferDataCfmS*>(msg);
  if (msgsize < kDataOffset) {
    TC_LOG_ERROR("Dump aborted: a buffer data confirm of %zu bytes from daxo %u", msgsize, daxo);
    finish(1);
    return;
  }
  // The sequence number on the wire names a request; its place among those out is counted
  // from the last chunk printed, which lets the 16 bits wrap.
  const uint16_t ahead = static_cast<uint16_t>(cfm->seqNum - static_cast<uint16_t>(printedSeq));
  const uint32_t named = printedSeq + ahead;
  auto it = ahead == 0 || named > requestedSeq ? asked_.end() : asked_.find(named);
  if (it == asked_.end() || named != order) {
    // Not asked for, printed already or answered twice: dropped. The request whose answer it
    // took is asked again, so that the dump does not wait for it forever.
    TC_LOG_ERROR("Dump dropped a buffer data confirm it did not wait for. seqNum=%u", cfm->seqNum);
    if (asked_.count(order) != 0) send(order);
    return;
  }
  const size_t held = (msgsize - kDataOffset) / 2;
  if (cfm->length > held || cfm->length > it->second.length) {
    TC_LOG_ERROR(
        "Dump aborted: a buffer data confirm of daxo %u gives %u words, holds %zu, was asked %u",
        daxo, cfm->length, held, it->second.length);
    finish(1);
    return;
  }
  asked_.erase(it);
  const char* data = reinterpret_cast<const char*>(msg) + kDataOffset;
  const size_t bytes = size_t{cfm->length} * 2;
  if (order == printedSeq + 1) {
    // Its turn already: straight to the front end.
    printNext(order, cfm->blockId, cfm->offset, data, bytes);
  } else {
    pendingData.push(
        Chunk{order, cfm->blockId, cfm->offset, std::vector<char>(data, data + bytes)});
  }
  while (!pendingData.empty() && pendingData.top().order == printedSeq + 1) {
    const Chunk& top = pendingData.top();
    printNext(top.order, top.blockId, top.offset, top.data.data(), top.data.size());
    pendingData.pop();
  }
}

void RecorderDumpCmdSession::printNext(uint32_t order, uint16_t blockId, uint32_t offset,
                                       const char* data, size_t bytes) {
  TC_LOG_DEBUG("Dump received buffer data confirm. seqNum=%u, blockId=%u, offset=%u\n",
               static_cast<uint16_t>(order), blockId, offset);
  printedSeq = order;
  std::function<void(KvnTraceCtrlTaviPrintCfm*&, size_t)> onPrinted =
      [this, order](KvnTraceCtrlTaviPrintCfm*&, size_t) { printed(order); };
  printChunk(data, static_cast<uint16_t>(bytes), static_cast<uint16_t>(order), base64,
             getKillableCallback(std::move(onPrinted)));
}

void RecorderDumpCmdSession::printed(uint32_t order) {
  if (state_ != kFetchingBlocks) return;
  if (blockPos < blocks.size()) {
    request();
  } else if (order == requestedSeq) {
    TC_LOG_DEBUG("Dump received last print confirm\n");
    finish(0);
  }
}

void RecorderDumpCmdSession::handleEvent(kvntrace::EventId event) {
  if (event != lostEvent_ || state_ == kDone) return;
  if (state_ == kFetchingIndex) {
    status->onAgentLost(daxo);  // its text ends the command
    return;
  }
  TC_LOG_ERROR("Fail: Dumping aborted by daxo %u\n", daxo);
  finish(1);
}

void RecorderDumpCmdSession::finish(uint8_t result) {
  state_ = kDone;
  end(result);
}

}  // namespace kvn
