#include "decode/record_decoder.h"

#include <string.h>
#include <time.h>

#include <algorithm>

#include <nlohmann/json.hpp>

#include "base/big_endian.h"
#include "tracerecords/trace_record_reader.h"
#include "tracetables/trace_group_table.h"
#include "tracetables/trace_string_formatter.h"

namespace kvn::decode {

namespace {

using tracerecords::TraceRecord;
using tracerecords::TraceRecordReader;

const char* const kSourceNames[TraceRecord::kSources] = {"token", "rtt1", "rtt2", "rtt3", "lpp"};

// What a container or an operator wrote is printed on one line: control characters are escaped.
void appendEscaped(std::string& out, const char* s, size_t n) {
  for (size_t i = 0; i < n; ++i) {
    const unsigned char c = static_cast<unsigned char>(s[i]);
    if (c >= 0x20 && c != 0x7F) {
      out += static_cast<char>(c);
    } else if (c == '\n') {
      out += "\\n";
    } else if (c == '\t') {
      out += "\\t";
    } else {
      static const char hex[] = "0123456789abcdef";
      out += "\\x";
      out += hex[c >> 4];
      out += hex[c & 15];
    }
  }
}
void appendEscaped(std::string& out, std::string_view s) { appendEscaped(out, s.data(), s.size()); }

// "2016-11-15 13:14:46.123456", UTC.
std::string timeText(uint32_t seconds, uint32_t microseconds) {
  const time_t t = static_cast<time_t>(seconds);
  struct tm tm;
  char buf[64];
  if (gmtime_r(&t, &tm) == nullptr || strftime(buf, sizeof buf, "%Y-%m-%d %H:%M:%S", &tm) == 0)
    buf[0] = '\0';
  char us[16];
  snprintf(us, sizeof us, ".%06u", static_cast<unsigned>(std::min(microseconds, 999999u)));
  return std::string(buf) + us;
}

constexpr uint64_t objectKey(uint8_t kind, uint16_t id, uint8_t group) {
  return uint64_t{kind} << 24 | uint64_t{id} << 8 | group;
}

std::string jsonLine(const nlohmann::json& j) {
  return j.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

}  // namespace

RecordDecoder::RecordDecoder(const AgentTables& tables, Output output, std::string& out)
    : tables_(tables), output_(output), out_(out) {}

void RecordDecoder::report(uint64_t offset, const std::string& what, size_t skipped) {
  ++unreadable_;
  if (output_ == Output::kJson) {
    out_ += jsonLine({{"offset", offset}, {"error", what}, {"skipped", skipped}});
    return;
  }
  out_ += "offset " + std::to_string(offset) + ": ";
  appendEscaped(out_, what);
  out_ += ", " + std::to_string(skipped) + " bytes skipped\n";
}

void RecordDecoder::noteSequence(const TraceRecord& r) {
  const uint16_t key = static_cast<uint16_t>(r.agent << 8 | r.source);
  auto [it, fresh] = nextSequence_.emplace(key, r.sequence);
  if (!fresh && it->second != r.sequence) ++recordGaps_;
  it->second = static_cast<uint16_t>(r.sequence + 1);
}

void RecordDecoder::print(const TraceRecord& r, uint64_t offset, std::string_view object,
                          std::string_view group, std::string_view text) {
  if (output_ == Output::kJson) {
    nlohmann::json j = {{"offset", offset},
                        {"time", timeText(r.seconds, r.microseconds)},
                        {"bfn", r.bfn},
                        {"agent", r.agent},
                        {"source", kSourceNames[r.source]},
                        {"sequence", r.sequence},
                        {"object", std::string(object)},
                        {"group", std::string(group)},
                        {"text", std::string(text)}};
    if (r.kind != TraceRecord::kText) {
      j["objectId"] = r.objectId;
      j["formatIndex"] = r.formatIndex;
      j["args"] = std::vector<uint32_t>(r.args, r.args + r.argCount);
    }
    out_ += jsonLine(j);
    return;
  }
  char head[96];
  snprintf(head, sizeof head, " bfn 0x%08x daxo %u %s ", static_cast<unsigned>(r.bfn),
           static_cast<unsigned>(r.agent), kSourceNames[r.source]);
  // Records come many to a second: the date and time of day are made once for each second.
  if (r.seconds != lineSeconds_ || lineTime_.empty()) {
    lineSeconds_ = r.seconds;
    lineTime_ = timeText(r.seconds, 0);
    lineTime_.resize(lineTime_.size() - 6);  // the microseconds follow below
  }
  char us[8];
  snprintf(us, sizeof us, "%06u", static_cast<unsigned>(std::min(r.microseconds, 999999u)));
  out_ += lineTime_;
  out_ += us;
  out_ += head;
  appendEscaped(out_, object);
  out_ += ' ';
  appendEscaped(out_, group);
  out_ += ' ';
  appendEscaped(out_, text);
  out_ += '\n';
}

void RecordDecoder::decode(const uint8_t* data, size_t size, uint64_t offset) {
  size_t pos = 0;
  if (offset == 0 && size >= TraceRecord::kLppMarkerSize &&
      memcmp(data, TraceRecord::kLppMarker, TraceRecord::kLppMarkerSize) == 0)
    pos = TraceRecord::kLppMarkerSize;
  // Bytes that hold no record are skipped a word at a time until one can be read again, and
  // reported once for the whole stretch.
  size_t badFrom = size;
  TraceRecordReader::Status badStatus = TraceRecordReader::Status::kOk;
  auto endBad = [&](size_t at) {
    if (badFrom == size) return;
    report(offset + badFrom,
           std::string("cannot read a record: ") + TraceRecordReader::describe(badStatus),
           at - badFrom);
    badFrom = size;
  };
  TraceRecord r;
  while (pos < size && !limitReached()) {
    const TraceRecordReader::Status status = TraceRecordReader::read(data + pos, size - pos, r);
    if (status != TraceRecordReader::Status::kOk) {
      if (badFrom == size) {
        badFrom = pos;
        badStatus = status;
      }
      pos = status == TraceRecordReader::Status::kShortHeader ? size : std::min(size, pos + 2);
      continue;
    }
    endBad(pos);
    const uint64_t at = offset + pos;
    pos += r.length;
    noteSequence(r);
    std::string_view object, group, text;
    if (r.kind == TraceRecord::kText) {
      object = "echo";
      group = "text";
      text = std::string_view(r.text, r.textSize);
    } else if (r.kind == TraceRecord::kTraceObject) {
      if (r.objectId >= tables_.objectNames.size()) {
        report(at, "unknown object " + std::to_string(r.objectId), r.length);
        continue;
      }
      if (r.group >= TraceGroupTable::kCount) {
        report(at, "unknown group " + std::to_string(r.group), r.length);
        continue;
      }
      if (r.formatIndex >= tables_.formats.size()) {
        report(at, "unknown format index " + std::to_string(r.formatIndex), r.length);
        continue;
      }
      object = tables_.objectNames[r.objectId];
      group = TraceGroupTable::name(r.group);
      formatted_ = TraceStringFormatter::format(tables_.formats[r.formatIndex], r.args[0],
                                                r.args[1], r.args[2]);
      text = formatted_;
    } else {
      auto point = tables_.utrace.find(r.objectId);
      if (point == tables_.utrace.end()) {
        report(at, "unknown utrace point " + std::to_string(r.objectId), r.length);
        continue;
      }
      if (r.formatIndex >= tables_.strings.size()) {
        report(at, "unknown format index " + std::to_string(r.formatIndex), r.length);
        continue;
      }
      object = point->second;
      group = "utrace";
      formatted_ = TraceStringFormatter::format(tables_.strings[r.formatIndex], r.args[0],
                                                r.args[1], r.args[2]);
      text = formatted_;
    }
    ++records_;
    ++bySource_[r.source];
    ++byObject_[objectKey(r.kind, r.objectId, r.kind == TraceRecord::kTraceObject ? r.group : 0)];
    print(r, at, object, group, text);
    if (onFull_ && out_.size() >= kFullBytes) onFull_();
  }
  endBad(pos);
}

void RecordDecoder::decodeDatagram(const uint8_t* data, size_t size) {
  const uint64_t at = streamOffset_;
  streamOffset_ += size;
  if (size < TraceRecord::kDatagramHeaderSize) {
    report(at, "a datagram shorter than its sequence number", size);
    return;
  }
  const uint32_t seq = kvn::loadBe32(data);
  if (datagrams_++ > 0 && seq != nextDatagram_) ++datagramGaps_;
  nextDatagram_ = seq + 1;
  decode(data + TraceRecord::kDatagramHeaderSize, size - TraceRecord::kDatagramHeaderSize,
         at + TraceRecord::kDatagramHeaderSize);
}

void RecordDecoder::summary() {
  nlohmann::json sources = nlohmann::json::object();
  for (size_t s = 0; s < TraceRecord::kSources; ++s)
    if (bySource_[s] != 0) sources[kSourceNames[s]] = bySource_[s];
  nlohmann::json objects = nlohmann::json::object();
  for (const auto& [key, count] : byObject_) {
    const uint8_t kind = static_cast<uint8_t>(key >> 24);
    const uint16_t id = static_cast<uint16_t>(key >> 8);
    std::string name;
    if (kind == TraceRecord::kText)
      name = "echo text";
    else if (kind == TraceRecord::kUtrace)
      name = tables_.utrace.at(id) + " utrace";
    else
      name = tables_.objectNames.at(id) + " " + TraceGroupTable::name(key & 0xFF);
    objects[name] = count;
  }
  if (output_ == Output::kJson) {
    out_ += jsonLine({{"summary",
                       {{"records", records_},
                        {"unreadable", unreadable_},
                        {"sources", sources},
                        {"objects", objects},
                        {"datagrams", datagrams_},
                        {"datagramGaps", datagramGaps_},
                        {"recordGaps", recordGaps_}}}});
    return;
  }
  out_ += "-- " + std::to_string(records_) + " records, " + std::to_string(unreadable_) +
          " unreadable\n";
  for (const auto& [name, count] : sources.items())
    out_ += "source " + name + ": " + std::to_string(count.get<uint64_t>()) + "\n";
  for (const auto& [name, count] : objects.items()) {
    appendEscaped(out_, name);
    out_ += ": " + std::to_string(count.get<uint64_t>()) + "\n";
  }
  out_ += "gaps: " + std::to_string(datagramGaps_) + " in " + std::to_string(datagrams_) +
          " datagrams, " + std::to_string(recordGaps_) + " in the sources' record sequences\n";
}

}  // namespace kvn::decode
