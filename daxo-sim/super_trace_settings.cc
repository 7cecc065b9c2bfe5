#include "daxo-sim/super_trace_settings.h"

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

}  // namespace

SuperTraceSettings SuperTraceSettings::fromJson(const nlohmann::json& j) {
  if (!j.is_object()) throw AgentDescription::Error("superTrace: expected an object");
  for (const auto& item : j.items()) {
    static const char* known[] = {"bufferWords",  "blockWords",  "producerRate",
                                  "consumerRate", "stopDelayMs", "tickMs"};
    bool ok = false;
    for (const char* k : known) ok = ok || item.key() == k;
    if (!ok) throw AgentDescription::Error("superTrace: unknown field \"" + item.key() + "\"");
  }
  SuperTraceSettings s;
  s.bufferWords = static_cast<uint64_t>(positive(j, "bufferWords", s.bufferWords));
  s.blockWords = static_cast<uint32_t>(positive(j, "blockWords", s.blockWords));
  s.producerRate = positive(j, "producerRate", s.producerRate);
  s.consumerRate = positive(j, "consumerRate", s.consumerRate);
  s.tickMs = static_cast<uint32_t>(positive(j, "tickMs", s.tickMs));
  if (j.contains("stopDelayMs")) {
    const nlohmann::json& v = j.at("stopDelayMs");
    if (!v.is_number_unsigned() && !(v.is_number_integer() && v.get<int64_t>() >= 0))
      throw AgentDescription::Error("superTrace.stopDelayMs: expected a non-negative integer");
    s.stopDelayMs = v.get<uint32_t>();
  }
  return s;
}

}  // namespace kvn::daxosim
