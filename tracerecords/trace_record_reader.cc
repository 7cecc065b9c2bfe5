#include "tracerecords/trace_record_reader.h"

#include "base/big_endian.h"

namespace kvn::tracerecords {

using kvn::loadBe16;
using kvn::loadBe32;

size_t TraceRecordReader::sizeOf(uint8_t kind, size_t argCount, size_t textSize) {
  if (kind == TraceRecord::kText) return TraceRecord::kHeaderSize + textSize + textSize % 2;
  return TraceRecord::kHeaderSize + 4 * argCount;
}

TraceRecordReader::Status TraceRecordReader::read(const uint8_t* data, size_t size,
                                                  TraceRecord& r) {
  if (size < TraceRecord::kHeaderSize) return Status::kShortHeader;
  r.length = loadBe16(data);
  if (r.length % 2 != 0 || r.length < TraceRecord::kHeaderSize || r.length > TraceRecord::kMaxSize)
    return Status::kBadLength;
  if (r.length > size) return Status::kPastTheData;
  r.kind = data[2];
  r.source = data[3];
  r.agent = data[4];
  r.group = data[5];
  r.sequence = loadBe16(data + 6);
  r.bfn = loadBe32(data + 8);
  r.seconds = loadBe32(data + 12);
  r.microseconds = loadBe32(data + 16);
  r.objectId = loadBe16(data + 20);
  r.formatIndex = loadBe16(data + 22);
  r.argCount = loadBe16(data + 24);
  r.text = nullptr;
  r.textSize = 0;
  if (r.kind < TraceRecord::kTraceObject || r.kind > TraceRecord::kText) return Status::kBadKind;
  if (r.source >= TraceRecord::kSources) return Status::kBadSource;
  const uint8_t* payload = data + TraceRecord::kHeaderSize;
  if (r.kind == TraceRecord::kText) {
    if (r.argCount != 0) return Status::kBadArguments;
    r.text = reinterpret_cast<const char*>(payload);
    r.textSize = r.length - TraceRecord::kHeaderSize;
    if (r.textSize > 0 && payload[r.textSize - 1] == 0) --r.textSize;  // the padding
    return Status::kOk;
  }
  if (r.argCount > TraceRecord::kMaxArgs || r.length != sizeOf(r.kind, r.argCount, 0))
    return Status::kBadArguments;
  for (size_t i = 0; i < TraceRecord::kMaxArgs; ++i)
    r.args[i] = i < r.argCount ? loadBe32(payload + 4 * i) : 0;
  return Status::kOk;
}

const char* TraceRecordReader::describe(Status status) {
  switch (status) {
    case Status::kOk:
      return "ok";
    case Status::kShortHeader:
      return "fewer bytes than a record header";
    case Status::kBadLength:
      return "a length that no record has";
    case Status::kPastTheData:
      return "a length past the data";
    case Status::kBadKind:
      return "an unknown kind";
    case Status::kBadSource:
      return "an unknown source";
    case Status::kBadArguments:
      return "arguments that do not fit its length";
  }
  return "unknown";
}

}  // namespace kvn::tracerecords
