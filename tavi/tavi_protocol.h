#pragma once
// The protocol between the service and the operators' shell front end, all under the
// routine-addressed signal with its 12-byte header. Multi-byte fields travel big-endian.
// Header-only, below both ends: the service's command layer and the shell.
//
//   3  front end -> routine 1      command request
//   4  front end -> life routine   abort (also what the watch on the front end delivers)
//   5  life routine -> front end   command accepted; its source is the life routine
//   6  service -> front end        command refused
//   7  service -> front end        command ended, with its result
//   8  print routine -> front end  text; any answer to the print routine is its confirm

#include <stddef.h>
#include <stdint.h>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"

namespace kvn::tavi {

constexpr uint32_t kProtocolVersion = 1;

// The service's command session factory, which takes the command requests.
constexpr uint16_t kFactoryRoutine = 1;

constexpr uint16_t kCommandReq = 3;
constexpr uint16_t kAbortInd = 4;
constexpr uint16_t kCommandAccepted = 5;
constexpr uint16_t kCommandRefused = 6;
constexpr uint16_t kCommandEnded = 7;
constexpr uint16_t kPrintInd = 8;

// Reasons of a refusal.
enum RefusalReason : uint32_t {
  kRefusedBadVersion = 1,
  kRefusedNotImplemented = 2,
};

// The largest text of one print message: its length is a u16.
constexpr size_t kMaxChunk = 50000;
// A print message is allocated this much larger than it needs.
constexpr size_t kPrintSlack = 20;

}  // namespace kvn::tavi

#pragma pack(push, 1)

// 3: `argsLength` bytes of NUL-terminated arguments from offset 20, command name first.
struct KvnTraceCtrlTaviCommandReq {
  KvnObsSubMessageWithSubMsgNo header;
  uint32_t protocolVersion;
  uint8_t argc;
  uint8_t padding;
  uint16_t argsLength;
  char args[1];
};
static_assert(offsetof(KvnTraceCtrlTaviCommandReq, args) == 20);

// 4: the header only.
struct KvnTraceCtrlTaviAbortInd {
  KvnObsSubMessageWithSubMsgNo header;
};
static_assert(sizeof(KvnTraceCtrlTaviAbortInd) == 12);

// 6.
struct KvnTraceCtrlTaviCommandRefused {
  KvnObsSubMessageWithSubMsgNo header;
  uint32_t protocolVersion;
  uint32_t reason;
};
static_assert(sizeof(KvnTraceCtrlTaviCommandRefused) == 20);

// 7.
struct KvnTraceCtrlTaviCommandEnded {
  KvnObsSubMessageWithSubMsgNo header;
  uint8_t result;
  uint8_t padding;
};
static_assert(sizeof(KvnTraceCtrlTaviCommandEnded) == 14);

// 8: `length` bytes of text from offset 18, not terminated. Plain text has 0 for `sequence`
// and `stream`; the recorder dump numbers its chunks with them.
struct KvnTraceCtrlTaviPrintInd {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t sequence;
  uint16_t stream;
  uint16_t length;
  char text[1];
};
static_assert(offsetof(KvnTraceCtrlTaviPrintInd, text) == 18);

// The front end's confirm of a print message: the `sequence` confirmed.
struct KvnTraceCtrlTaviPrintCfm {
  KvnObsSubMessageWithSubMsgNo header;
  uint16_t sequence;
};
static_assert(sizeof(KvnTraceCtrlTaviPrintCfm) == 14);

#pragma pack(pop)

namespace kvn::tavi {

// The sizes that a reader of each record checks a message against.
constexpr size_t kHeaderSize = sizeof(KvnObsSubMessageWithSubMsgNo);
constexpr size_t kRequestHeadSize = offsetof(KvnTraceCtrlTaviCommandReq, args);
constexpr size_t kAbortSize = sizeof(KvnTraceCtrlTaviAbortInd);
constexpr size_t kRefusedSize = sizeof(KvnTraceCtrlTaviCommandRefused);
constexpr size_t kEndedSize = sizeof(KvnTraceCtrlTaviCommandEnded);
constexpr size_t kTextHeadSize = offsetof(KvnTraceCtrlTaviPrintInd, text);
constexpr size_t kConfirmSize = sizeof(KvnTraceCtrlTaviPrintCfm);

}  // namespace kvn::tavi
