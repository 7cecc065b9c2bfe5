#include "daxo-sim/trace_record_writer.h"

#include <stdlib.h>

#include <algorithm>

#include "tracetables/trace_lmc_reader.h"

namespace kvn::daxosim {

namespace {

constexpr uint32_t kAllGroups = 0x3FFFFF;

void put(std::vector<uint8_t>& out, uint32_t value, int bytes) {
  for (int i = bytes - 1; i >= 0; --i) out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

}  // namespace

TraceRecordWriter::TraceRecordWriter(uint8_t agent, const std::map<uint16_t, uint32_t>& masks,
                                     const std::map<uint16_t, bool>& differs,
                                     std::map<uint16_t, bool> defaults)
    : agent_(agent), masks_(masks), differs_(differs), defaults_(std::move(defaults)) {}

std::map<uint16_t, bool> TraceRecordWriter::utraceDefaults(const std::string& lmcPath,
                                                           const std::string& loadModuleName) {
  std::map<uint16_t, bool> defaults;
  if (lmcPath.empty() || loadModuleName.empty()) return defaults;
  kvntrace::TraceLmcReader reader(lmcPath);
  for (const std::string& line : reader.getUtraceMeta(loadModuleName)) {
    const size_t a = line.find(',');
    const size_t b = a == std::string::npos ? a : line.find(',', a + 1);
    if (b == std::string::npos) continue;
    const unsigned long id = strtoul(line.c_str() + a + 1, nullptr, 10);
    if (id > 0xFFFF) continue;
    defaults[static_cast<uint16_t>(id)] = strtol(line.c_str() + b + 1, nullptr, 10) != 0;
  }
  return defaults;
}

// A utrace point is on when its default is, unless the service said it differs.
bool TraceRecordWriter::pointOn(uint16_t id) const {
  auto d = defaults_.find(id);
  auto x = differs_.find(id);
  return d != defaults_.end() && d->second != (x != differs_.end() && x->second);
}

// The first enabled item after `after` (or the first of all), wrapping round once: trace
// object pairs in strId and group order, then utrace points in id order.
bool TraceRecordWriter::following(const Item* after, Item& item) const {
  for (int round = 0; round < 2; ++round) {
    const Item* from = round == 0 ? after : nullptr;
    if (!from || from->kind == Record::kTraceObject) {
      for (auto it = from ? masks_.lower_bound(from->id) : masks_.begin(); it != masks_.end();
           ++it) {
        uint32_t groups = it->second & kAllGroups;
        if (from && it->first == from->id) groups &= ~((2u << from->group) - 1);  // those after
        if (groups != 0) {
          item = {Record::kTraceObject, it->first, static_cast<uint8_t>(__builtin_ctz(groups))};
          return true;
        }
      }
    }
    for (auto it = from && from->kind == Record::kUtrace ? defaults_.upper_bound(from->id)
                                                         : defaults_.begin();
         it != defaults_.end(); ++it) {
      if (pointOn(it->first)) {
        item = {Record::kUtrace, it->first, Record::kNoGroup};
        return true;
      }
    }
  }
  return false;
}

void TraceRecordWriter::header(uint8_t kind, uint8_t source, uint8_t group,
                               const SimulatedBuffer::Time& now, size_t length,
                               std::vector<uint8_t>& out) {
  put(out, static_cast<uint32_t>(length), 2);
  out.push_back(kind);
  out.push_back(source);
  out.push_back(agent_);
  out.push_back(group);
  put(out, sequence_[source]++, 2);
  put(out, now.bfn, 4);
  put(out, now.seconds, 4);
  put(out, now.microseconds, 4);
}

bool TraceRecordWriter::next(uint8_t source, const SimulatedBuffer::Time& now,
                             std::vector<uint8_t>& out) {
  if (source >= Record::kSources) return false;
  Item item;
  if (!following(started_[source] ? &last_[source] : nullptr, item)) return false;
  last_[source] = item;
  started_[source] = true;
  const uint16_t seq = sequence_[source];
  header(item.kind, source, item.group, now, Record::kHeaderSize + 4 * Record::kMaxArgs, out);
  put(out, item.id, 2);
  put(out, item.id, 2);  // the object's format, or the point's trace string, has its index
  put(out, Record::kMaxArgs, 2);
  // Made-up arguments that change from record to record.
  put(out, seq % 16, 4);
  put(out, seq % 100, 4);
  put(out, seq, 4);
  return true;
}

void TraceRecordWriter::text(uint8_t source, const std::string& text,
                             const SimulatedBuffer::Time& now, std::vector<uint8_t>& out) {
  if (source >= Record::kSources) return;
  const size_t size = std::min(text.size(), Record::kMaxText);
  header(Record::kText, source, Record::kNoGroup, now, Record::kHeaderSize + size + size % 2, out);
  put(out, Record::kNoObject, 2);
  put(out, 0, 2);
  put(out, 0, 2);
  out.insert(out.end(), text.begin(), text.begin() + static_cast<std::ptrdiff_t>(size));
  if (size % 2 != 0) out.push_back(0);
}

}  // namespace kvn::daxosim
