#include "util/cmd/cmd_session.h"

#include <stdio.h>

#include <algorithm>
#include <utility>

#include "tracing/log.h"

namespace kvn {

void CmdSession::pxm_message(pxm_msg*& msg, size_t msgsize) {
  CPMUTIL_LOG_ERROR("Unhandled pxm_message");
  fprintf(stderr, "Unhandled pxm_message\n");
}

void CmdSession::abort(KvnTraceCtrlTaviAbortInd*& msg, size_t msgsize) { end(1); }

void CmdSession::attachTavi(std::shared_ptr<TaviCommandProxy> proxy) {
  taviProxy = std::move(proxy);
  std::function<void(KvnTraceCtrlTaviAbortInd*&, unsigned int)> onAbort =
      [this](KvnTraceCtrlTaviAbortInd*& msg, unsigned int size) { abort(msg, size); };
  taviProxy->startLifeRoutine(getKillableCallback(std::move(onAbort)));
}

void CmdSession::print(const std::string& text) {
  size_t offset = 0;
  do {
    const size_t length = std::min(text.size() - offset, tavi::kMaxChunk);
    printChunk(text.data() + offset, static_cast<uint16_t>(length), 0, 0,
               [](KvnTraceCtrlTaviPrintCfm*&, size_t) {});
    offset += length;
  } while (offset < text.size());
}

void CmdSession::printChunk(const char* data, uint16_t length, uint16_t sequence, uint16_t stream,
                            TaviCommandProxyPrintRoutine::OnConfirm onConfirm) {
  if (!taviProxy) {
    CPMUTIL_LOG_ERROR("Command %u prints without a front end", getRoutineId());
    return;
  }
  taviProxy->printChunk(data, length, sequence, stream, std::move(onConfirm));
}

void CmdSession::end(uint8_t result) {
  KVN_CMD_END(getRoutineId(), result);
  if (taviProxy) taviProxy->sendEnd(result);
  release();
}

}  // namespace kvn
