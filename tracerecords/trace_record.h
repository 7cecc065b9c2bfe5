#pragma once
// The trace records of the simulated agent: what its producers write into the SuperTrace buffer
// and its consumer sends on. A real agent has a format of its own; this one exists so that the
// traces an operator switched on can be seen flowing on a simulated site.
//
// All fields are big-endian. A record is a whole number of 16-bit words, and blocks and
// datagrams hold whole records, so a dump (its blocks one after the other) and a stream (each
// datagram after a 4-byte sequence number) are both read record by record.
//
// | Offset | Size | Field |
// |---|---|---|
// | 0 | 2 | `length`, bytes of the whole record, header included; even |
// | 2 | 1 | `kind`: 1 trace object, 2 utrace point, 3 text (`zoth echo`) |
// | 3 | 1 | `source`: 0 token, 1 to 3 rtt, 4 lpp |
// | 4 | 1 | `agent`: the agent's number, 1 to 5 |
// | 5 | 1 | `group`: the trace group index, 0 to 21, of a trace object record; 0xFF otherwise |
// | 6 | 2 | `sequence`: the source's record count, from 0, wrapping |
// | 8 | 4 | `bfn`: the frame number when the record was written |
// | 12 | 4 | `seconds` since 1970 |
// | 16 | 4 | `microseconds` |
// | 20 | 2 | `objectId`: the trace object's strId, the utrace point's id, 0xFFFF for a text |
// | 22 | 2 | `formatIndex`: in the container's "traceformat" (trace object) or "tracestr" (utrace)
// | | 24 | 2 | `argCount`: 0 to 3 | | 26 | 4 * argCount | `args`, 32-bit |
//
// A text record has no arguments and carries its text from offset 26 to its end, padded with
// one 0 byte when the text is odd.

#include <stddef.h>
#include <stdint.h>

namespace kvn::tracerecords {

struct TraceRecord {
  enum Kind : uint8_t { kTraceObject = 1, kUtrace = 2, kText = 3 };

  static constexpr size_t kHeaderSize = 26;
  static constexpr size_t kMaxArgs = 3;
  static constexpr size_t kMaxSize = 2048;  // bytes; a longer text is cut
  static constexpr size_t kMaxText = kMaxSize - kHeaderSize;
  static constexpr uint8_t kSources = 5;
  static constexpr uint8_t kNoGroup = 0xFF;
  static constexpr uint16_t kNoObject = 0xFFFF;
  // What a dump of lpp starts with, before its first record.
  static constexpr char kLppMarker[] = "LPP\n";
  static constexpr size_t kLppMarkerSize = 4;
  // What stands before the records of a datagram: its sequence number.
  static constexpr size_t kDatagramHeaderSize = 4;

  uint16_t length = 0;
  uint8_t kind = 0;
  uint8_t source = 0;
  uint8_t agent = 0;
  uint8_t group = kNoGroup;
  uint16_t sequence = 0;
  uint32_t bfn = 0;
  uint32_t seconds = 0;
  uint32_t microseconds = 0;
  uint16_t objectId = kNoObject;
  uint16_t formatIndex = 0;
  uint16_t argCount = 0;
  uint32_t args[kMaxArgs] = {0, 0, 0};
  // A text record's text, padding removed; it points into the bytes the record was read from.
  const char* text = nullptr;
  size_t textSize = 0;
};

}  // namespace kvn::tracerecords
