#pragma once
// Reads one simulated agent's trace record (trace_record.h) out of bytes that came from a dump
// or a datagram, which are not trusted: every field is checked against the bytes that are there
// and against the layout, and nothing is read outside them.

#include <stddef.h>
#include <stdint.h>

#include "tracerecords/trace_record.h"

namespace kvn::tracerecords {

class TraceRecordReader {
 public:
  enum class Status {
    kOk,
    kShortHeader,   // fewer bytes left than a header
    kBadLength,     // odd, shorter than a header or longer than kMaxSize
    kPastTheData,   // longer than the bytes left
    kBadKind,       // not one of the three kinds
    kBadSource,     // not below kSources
    kBadArguments,  // more than kMaxArgs, or a length that does not hold them exactly
  };

  // Reads the record at `data`; on kOk, `record.length` bytes were used. On kPastTheData and
  // the field errors `record.length` holds the length field as read.
  static Status read(const uint8_t* data, size_t size, TraceRecord& record);
  // A short description of a status, for the line that reports an unreadable record.
  static const char* describe(Status status);
  // The length a well-formed record of `kind` with `argCount` arguments or `textSize` text bytes
  // has.
  static size_t sizeOf(uint8_t kind, size_t argCount, size_t textSize);
};

}  // namespace kvn::tracerecords
