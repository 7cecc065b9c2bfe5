#pragma once
// Writes the simulated agent's trace records (tracerecords/trace_record.h) for exactly what is
// enabled on it: in turn over the (trace object, group) pairs that its current masks enable and
// then the utrace points that are on, one record at a time for each source, and the text of each
// `zoth echo` when it arrives. The masks and utrace settings are the handlers' own tables, read
// at every record, so a change takes effect at the next one.

#include <stdint.h>

#include <map>
#include <string>
#include <vector>

#include "daxo-sim/simulated_buffer.h"
#include "tracerecords/trace_record.h"

namespace kvn::daxosim {

class TraceRecordWriter {
 public:
  using Record = tracerecords::TraceRecord;

  // `masks`: group mask by strId; `differs`: whether a utrace point differs from its default, by
  // id; `defaults`: whether a utrace point is on by default, by id, from the container.
  TraceRecordWriter(uint8_t agent, const std::map<uint16_t, uint32_t>& masks,
                    const std::map<uint16_t, bool>& differs, std::map<uint16_t, bool> defaults);

  // The defaults of the utrace points of `loadModuleName` in the container at `lmcPath` (its
  // "utracemeta" lines "name,id,default"); none when it cannot be read.
  static std::map<uint16_t, bool> utraceDefaults(const std::string& lmcPath,
                                                 const std::string& loadModuleName);

  // Appends the next record of `source` to `out`; false, with nothing appended, when nothing is
  // enabled.
  bool next(uint8_t source, const SimulatedBuffer::Time& now, std::vector<uint8_t>& out);
  // Appends a text record of `source`; a text longer than a record holds is cut.
  void text(uint8_t source, const std::string& text, const SimulatedBuffer::Time& now,
            std::vector<uint8_t>& out);

 private:
  // What a record is written for, ordered as they take turns.
  struct Item {
    uint8_t kind;
    uint16_t id;
    uint8_t group;
  };
  bool pointOn(uint16_t id) const;
  bool following(const Item* after, Item& item) const;
  void header(uint8_t kind, uint8_t source, uint8_t group, const SimulatedBuffer::Time& now,
              size_t length, std::vector<uint8_t>& out);

  uint8_t agent_;
  const std::map<uint16_t, uint32_t>& masks_;
  const std::map<uint16_t, bool>& differs_;
  std::map<uint16_t, bool> defaults_;
  uint16_t sequence_[Record::kSources] = {};
  Item last_[Record::kSources] = {};
  bool started_[Record::kSources] = {};
};

}  // namespace kvn::daxosim
