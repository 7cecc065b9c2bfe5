#include "daxo-sim/super_trace_settings.h"

#include <algorithm>
#include <string>

#include <nlohmann/json.hpp>

#include "daxo-sim/agent_description.h"

namespace kvn::daxosim {

namespace {

double positive(const nlohmann::json& j, const char* key, double fallback) {
  if (!j.contains(key)) return fallback;
  const nlohmann::json& v = j.at(key);
  if (!v.is_number() || v.get<double>() <= 0)
    throw AgentDescription::Error(std::string("superTrace.") + key +
                                  ": expected a positive number");
  return v.get<double>();
}

SimulatedBuffer::Time timeOf(const nlohmann::json& j, const char* key) {
  SimulatedBuffer::Time t;
  if (!j.contains(key)) return t;
  const nlohmann::json& v = j.at(key);
  if (!v.is_array() || v.size() != 3)
    throw AgentDescription::Error(std::string("superTrace.fixedIndex: \"") + key +
                                  "\" must be [seconds, microseconds, bfn]");
  t.seconds = v[0].get<uint32_t>();
  t.microseconds = v[1].get<uint32_t>();
  t.bfn = v[2].get<uint32_t>();
  return t;
}

SuperTraceSettings::FixedIndex fixedIndexOf(const nlohmann::json& j) {
  if (!j.is_object() || !j.contains("blocks") || !j.at("blocks").is_array())
    throw AgentDescription::Error("superTrace.fixedIndex: expected an object with \"blocks\"");
  SuperTraceSettings::FixedIndex f;
  f.blockSize = j.value("blockSize", f.blockSize);
  for (const nlohmann::json& b : j.at("blocks")) {
    if (!b.contains("source") || !b.contains("size"))
      throw AgentDescription::Error("superTrace.fixedIndex: a block needs \"source\" and \"size\"");
    SimulatedBuffer::Block block;
    block.source = b.at("source").get<uint16_t>();
    block.size = b.at("size").get<uint32_t>();
    block.sequence = b.value("sequence", static_cast<uint16_t>(f.blocks.size() + 1));
    block.writes = b.value("dmaInterrupts", uint16_t{1});
    block.errors = b.value("errors", uint16_t{0});
    block.startTime = timeOf(b, "start");
    block.endTime = timeOf(b, "end");
    f.blocks.push_back(block);
  }
  const size_t listed = f.blocks.size();
  const size_t count = j.value("count", listed);
  if (count > 65535 || (count > listed && listed == 0))
    throw AgentDescription::Error("superTrace.fixedIndex: \"count\" must be at most 65535");
  if (count > listed) {
    // The span of the blocks that have times.
    uint32_t first = UINT32_MAX, last = 0;
    for (const SimulatedBuffer::Block& b : f.blocks)
      if (b.startTime.seconds != 0) {
        first = std::min(first, b.startTime.seconds);
        last = std::max(last, b.endTime.seconds);
      }
    const uint32_t span = last >= first ? last - first + 1 : 1;
    for (size_t i = listed; i < count; ++i) {
      SimulatedBuffer::Block b = f.blocks[i % listed];
      b.sequence = static_cast<uint16_t>(f.blocks.back().sequence + 1);
      if (b.sequence == 0xFFFF) b.sequence = 0;  // 0xFFFF would mark it as never written
      const uint32_t shift = static_cast<uint32_t>(i / listed) * span;
      b.startTime.seconds += shift;
      b.endTime.seconds += shift;
      f.blocks.push_back(b);
    }
  }
  return f;
}

}  // namespace

SuperTraceSettings SuperTraceSettings::fromJson(const nlohmann::json& j) {
  if (!j.is_object()) throw AgentDescription::Error("superTrace: expected an object");
  for (const auto& item : j.items()) {
    static const char* known[] = {"bufferWords", "blockWords", "producerRate", "consumerRate",
                                  "stopDelayMs", "tickMs",     "fixedIndex",   "recordRate"};
    bool ok = false;
    for (const char* k : known) ok = ok || item.key() == k;
    if (!ok) throw AgentDescription::Error("superTrace: unknown field \"" + item.key() + "\"");
  }
  SuperTraceSettings s;
  s.bufferWords = static_cast<uint64_t>(positive(j, "bufferWords", s.bufferWords));
  s.blockWords = static_cast<uint32_t>(positive(j, "blockWords", s.blockWords));
  s.producerRate = positive(j, "producerRate", s.producerRate);
  s.counterWords = j.contains("producerRate");
  s.recordRate = positive(j, "recordRate", s.recordRate);
  s.consumerRate = positive(j, "consumerRate", s.consumerRate);
  s.tickMs = static_cast<uint32_t>(positive(j, "tickMs", s.tickMs));
  if (j.contains("stopDelayMs")) {
    const nlohmann::json& v = j.at("stopDelayMs");
    if (!v.is_number_unsigned() && !(v.is_number_integer() && v.get<int64_t>() >= 0))
      throw AgentDescription::Error("superTrace.stopDelayMs: expected a non-negative integer");
    s.stopDelayMs = v.get<uint32_t>();
  }
  if (j.contains("fixedIndex")) s.fixedIndex = fixedIndexOf(j.at("fixedIndex"));
  return s;
}

}  // namespace kvn::daxosim
