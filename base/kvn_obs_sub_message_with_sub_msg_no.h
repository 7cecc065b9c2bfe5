#pragma once
// The 12-byte header that opens every routine-addressed message. The first word is the mailbox
// message number in host order; the three routine fields travel big-endian and are turned to
// host order by the routine table on receipt.

#include <arpa/inet.h>
#include <stdint.h>

struct KvnObsSubMessageWithSubMsgNo {
  uint32_t msgno;
  uint16_t dstRoutineId;
  uint16_t srcRoutineId;
  uint16_t submsgno;
  uint8_t padding[2];
};
static_assert(sizeof(KvnObsSubMessageWithSubMsgNo) == 12, "the header is 12 bytes on the wire");

// The mailbox signal number that all routine-addressed messages carry.
constexpr uint32_t kKvnObsSignalNo = 0x170802D;

// Turns the three 16-bit routine fields between host and network order; the same swap serves
// both directions.
inline void kvnObsSwapHeader(KvnObsSubMessageWithSubMsgNo* header) {
  header->dstRoutineId = htons(header->dstRoutineId);
  header->srcRoutineId = htons(header->srcRoutineId);
  header->submsgno = htons(header->submsgno);
}
