#pragma once
// Turns the simulated agent's trace records (tracerecords/trace_record.h) back into lines: time,
// agent, source, object name, group name and the text of the format with its arguments, or one
// JSON object a line. Input is not trusted: a record that cannot be read, or that names an
// object or format the container does not have, is reported in one line with its offset and
// skipped, and decoding goes on after it. Counts are kept for the summary at the end.

#include <stddef.h>
#include <stdint.h>

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "decode/agent_tables.h"
#include "tracerecords/trace_record.h"

namespace kvn::decode {

class RecordDecoder {
 public:
  enum class Output { kText, kJson };

  // Lines are appended to `out`, which the caller empties when it likes.
  RecordDecoder(const AgentTables& tables, Output output, std::string& out);

  // Called when the lines waiting in `out` pass kFullBytes, so that they do not pile up.
  void setOnFull(std::function<void()> onFull) { onFull_ = std::move(onFull); }
  static constexpr size_t kFullBytes = 1 << 16;

  // Stops printing after `records` records; 0 for no limit.
  void setLimit(uint64_t records) { limit_ = records; }
  bool limitReached() const { return limit_ != 0 && records_ >= limit_; }

  // The records of `data`, which stood at `offset` in the input. A dump's "LPP\n" marker is
  // skipped when it stands first in the input.
  void decode(const uint8_t* data, size_t size, uint64_t offset = 0);
  // One datagram of a stream: its sequence number, then whole records.
  void decodeDatagram(const uint8_t* data, size_t size);
  // The counts: records per source, per object and group, per utrace point, texts, what could
  // not be read, and gaps in the sequence of datagrams and of each source's records.
  void summary();

  uint64_t records() const { return records_; }
  uint64_t unreadable() const { return unreadable_; }

 private:
  void report(uint64_t offset, const std::string& what, size_t skipped);
  void print(const tracerecords::TraceRecord& r, uint64_t offset, std::string_view object,
             std::string_view group, std::string_view text);
  void noteSequence(const tracerecords::TraceRecord& r);

  const AgentTables& tables_;
  Output output_;
  std::string& out_;
  std::function<void()> onFull_;
  uint64_t limit_ = 0;
  std::string formatted_;  // the text of the record at hand
  uint32_t lineSeconds_ = 0;
  std::string lineTime_;  // the time of day of lineSeconds_, up to its "."
  uint64_t records_ = 0;
  uint64_t unreadable_ = 0;
  uint64_t bySource_[tracerecords::TraceRecord::kSources] = {};
  std::map<uint64_t, uint64_t> byObject_;  // by kind, object id and group
  // The next record sequence expected of each agent and source.
  std::map<uint16_t, uint16_t> nextSequence_;
  uint64_t recordGaps_ = 0;
  uint32_t nextDatagram_ = 0;
  uint64_t datagrams_ = 0;
  uint64_t datagramGaps_ = 0;
  uint64_t streamOffset_ = 0;  // bytes of datagrams so far
};

}  // namespace kvn::decode
