#include "daxo-sim/agent_description.h"

#include <filesystem>
#include <fstream>
#include <map>

#include <nlohmann/json.hpp>

namespace kvn::daxosim {

namespace {

using json = nlohmann::json;

const std::map<std::string, uint16_t>& forwarderKinds() {
  static const std::map<std::string, uint16_t> kinds = {
      {"TOKEN", 1}, {"RTT", 2},   {"LPP_TRACE", 3}, {"EMBUF", 4},
      {"TN", 6},    {"EBCOM", 7}, {"LOGSERVER", 12}};
  return kinds;
}

const std::map<std::string, uint16_t>& implementsCodes() {
  static const std::map<std::string, uint16_t> codes = {{"embuf", 4},
                                                        {"traceDest", 6},
                                                        {"forwarder", 8},
                                                        {"memoryBuffer", 9},
                                                        {"rttManager", 10},
                                                        {"measurements", 11},
                                                        {"traceHitCounter", 13},
                                                        {"traceObjectManager", 14},
                                                        {"uniqueTraceManager", 15},
                                                        {"sig2emManager", 16}};
  return codes;
}

[[noreturn]] void fail(const std::string& where, const std::string& what) {
  throw AgentDescription::Error(where + ": " + what);
}

uint64_t unsignedIn(const json& v, const std::string& where, uint64_t max) {
  if (!v.is_number_unsigned() && !(v.is_number_integer() && v.get<int64_t>() >= 0))
    fail(where, "expected a non-negative integer");
  uint64_t n = v.get<uint64_t>();
  if (n > max) fail(where, "value " + std::to_string(n) + " is above " + std::to_string(max));
  return n;
}

uint16_t u16(const json& v, const std::string& where) {
  return static_cast<uint16_t>(unsignedIn(v, where, 0xFFFF));
}

// A number, or one of the names of `names`.
uint16_t u16OrName(const json& v, const std::string& where,
                   const std::map<std::string, uint16_t>& names) {
  if (v.is_string()) {
    auto it = names.find(v.get<std::string>());
    if (it == names.end()) fail(where, "unknown name \"" + v.get<std::string>() + "\"");
    return it->second;
  }
  return u16(v, where);
}

std::string text(const json& j, const char* key, size_t maxLen) {
  if (!j.contains(key)) return "";
  const json& v = j.at(key);
  if (!v.is_string()) fail(key, "expected a string");
  std::string s = v.get<std::string>();
  if (s.size() > maxLen)
    fail(key, "longer than " + std::to_string(maxLen) + " characters: \"" + s + "\"");
  return s;
}

// Either one item or a list of them.
std::vector<json> oneOrMany(const json& v) {
  if (v.is_array()) return std::vector<json>(v.begin(), v.end());
  return {v};
}

void addRoutine(const json& r, size_t index, std::vector<AgentDescription::Attribute>& out) {
  const std::string where = "routines[" + std::to_string(index) + "]";
  if (!r.is_object()) fail(where, "expected an object");
  if (!r.contains("routineId")) fail(where, "missing \"routineId\"");
  const uint16_t id = u16(r.at("routineId"), where + ".routineId");
  for (const auto& key : r.items()) {
    static const char* known[] = {"routineId", "implements", "linkCount", "link"};
    bool ok = false;
    for (const char* k : known) ok = ok || key.key() == k;
    if (!ok) fail(where, "unknown field \"" + key.key() + "\"");
  }
  if (r.contains("implements"))
    for (const json& code : oneOrMany(r.at("implements")))
      out.push_back({id, 0, {u16OrName(code, where + ".implements", implementsCodes()), 0, 0}});
  if (r.contains("linkCount"))
    out.push_back({id, 2, {u16(r.at("linkCount"), where + ".linkCount"), 0, 0}});
  if (r.contains("link")) {
    for (const json& link : oneOrMany(r.at("link"))) {
      if (!link.is_object() || !link.contains("source") || !link.contains("destination"))
        fail(where + ".link", "expected {\"source\": kind, \"destination\": kind}");
      out.push_back(
          {id,
           3,
           {u16OrName(link.at("source"), where + ".link.source", forwarderKinds()),
            u16OrName(link.at("destination"), where + ".link.destination", forwarderKinds()), 0}});
    }
  }
}

void addRawAttribute(const json& a, size_t index, std::vector<AgentDescription::Attribute>& out) {
  const std::string where = "attributes[" + std::to_string(index) + "]";
  if (!a.is_object() || !a.contains("routineId") || !a.contains("propertyType"))
    fail(where, "expected {\"routineId\", \"propertyType\", \"value\"}");
  AgentDescription::Attribute attr;
  attr.routineId = u16(a.at("routineId"), where + ".routineId");
  attr.propertyType = u16(a.at("propertyType"), where + ".propertyType");
  if (a.contains("value")) {
    const json& v = a.at("value");
    if (!v.is_array() || v.size() > 3) fail(where + ".value", "expected up to three numbers");
    for (size_t i = 0; i < v.size(); ++i) attr.value[i] = u16(v[i], where + ".value");
  }
  out.push_back(attr);
}

uint32_t u32(const json& v, const std::string& where) {
  return static_cast<uint32_t>(unsignedIn(v, where, 0xFFFFFFFFu));
}

// {"rowsPerConfirm", "droppedHits", "droppedStrids", "rows": [{"strid", "group", "args",
// "counter", "firstHit", "lastHit"}]}
AgentDescription::HitCounterTable hitCounterTable(const json& t) {
  const std::string where = "traceHitCounter";
  if (!t.is_object()) fail(where, "expected an object");
  AgentDescription::HitCounterTable table;
  if (t.contains("rowsPerConfirm")) {
    table.rowsPerConfirm = u16(t.at("rowsPerConfirm"), where + ".rowsPerConfirm");
    if (table.rowsPerConfirm == 0) fail(where + ".rowsPerConfirm", "must be at least 1");
  }
  if (t.contains("droppedHits")) table.droppedHits = u32(t.at("droppedHits"), where);
  if (t.contains("droppedStrids")) table.droppedStrids = u32(t.at("droppedStrids"), where);
  const json rows = t.value("rows", json::array());
  if (!rows.is_array()) fail(where + ".rows", "expected a list");
  for (size_t i = 0; i < rows.size(); ++i) {
    const std::string at = where + ".rows[" + std::to_string(i) + "]";
    const json& r = rows[i];
    if (!r.is_object() || !r.contains("strid")) fail(at, "expected an object with a \"strid\"");
    AgentDescription::HitCounterRow row;
    row.strid = u16(r.at("strid"), at + ".strid");
    row.traceGroup = u16(r.value("group", json(0)), at + ".group");
    const json args = r.value("args", json::array());
    if (!args.is_array() || args.size() > 3) fail(at + ".args", "expected up to three numbers");
    for (size_t a = 0; a < args.size(); ++a) row.args[a] = u32(args[a], at + ".args");
    row.counter = u32(r.value("counter", json(0)), at + ".counter");
    row.firstHit = u32(r.value("firstHit", json(0)), at + ".firstHit");
    row.lastHit = u32(r.value("lastHit", json(0)), at + ".lastHit");
    table.rows.push_back(row);
  }
  return table;
}

}  // namespace

bool AgentDescription::Attribute::operator==(const Attribute& o) const {
  return routineId == o.routineId && propertyType == o.propertyType && value[0] == o.value[0] &&
         value[1] == o.value[1] && value[2] == o.value[2];
}

AgentDescription AgentDescription::fromJson(const json& j, const std::string& baseDir) {
  if (!j.is_object()) fail("description", "expected a JSON object");
  AgentDescription d;
  const std::string form = j.value("connect", std::string("version"));
  if (form == "initial") {
    d.form = ConnectForm::kInitial;
    d.version = 0;
  } else if (form == "version") {
    d.form = ConnectForm::kVersion;
    if (j.contains("version"))
      d.version = static_cast<uint32_t>(unsignedIn(j.at("version"), "version", 0xFFFFFFFFu));
  } else {
    fail("connect", "expected \"initial\" or \"version\", not \"" + form + "\"");
  }
  if (!j.contains("bbmHwNumber")) fail("description", "missing \"bbmHwNumber\"");
  d.bbmHwNumber = u16(j.at("bbmHwNumber"), "bbmHwNumber");
  if (j.contains("domainDaxoIndex"))
    d.domainDaxoIndex = u16(j.at("domainDaxoIndex"), "domainDaxoIndex");
  d.instanceName = text(j, "instanceName", kNameSize);
  d.mailboxName = text(j, "mailboxName", 255);
  if (d.form == ConnectForm::kVersion) {
    if (j.contains("roleIndex")) d.roleIndex = u16(j.at("roleIndex"), "roleIndex");
    d.loadModuleName = text(j, "loadModuleName", kNameSize);
    d.lmcPath = text(j, "lmcPath", kLmcPathSize);
    if (!d.lmcPath.empty() && d.lmcPath[0] != '/' && !baseDir.empty()) {
      d.lmcPath = baseDir + "/" + d.lmcPath;
      if (d.lmcPath.size() > kLmcPathSize)
        fail("lmcPath", "too long once made absolute: " + d.lmcPath);
    }
  } else {
    for (const char* key : {"roleIndex", "loadModuleName", "lmcPath", "version"})
      if (j.contains(key)) fail(key, "an initial connect carries no such field");
  }
  if (j.contains("routines")) {
    const json& rs = j.at("routines");
    if (!rs.is_array()) fail("routines", "expected a list");
    for (size_t i = 0; i < rs.size(); ++i) addRoutine(rs[i], i, d.attributes);
  }
  if (j.contains("attributes")) {
    const json& as = j.at("attributes");
    if (!as.is_array()) fail("attributes", "expected a list");
    for (size_t i = 0; i < as.size(); ++i) addRawAttribute(as[i], i, d.attributes);
  }
  if (d.attributes.size() > 0xFFFF) fail("attributes", "more than 65535 attributes");
  if (j.contains("traceDest")) {
    const json& t = j.at("traceDest");
    if (!t.is_object()) fail("traceDest", "expected an object");
    TraceDest& td = d.traceDest;
    for (const auto& item : t.items()) {
      const std::string where = "traceDest." + item.key();
      const json& v = item.value();
      if (item.key() == "portId")
        td.portId = u16(v, where);
      else if (item.key() == "agentVlan")
        td.agentVlan = u16(v, where);
      else if (item.key() == "sourceInfoA")
        td.sourceInfoA = static_cast<uint32_t>(unsignedIn(v, where, 0xFFFFFFFFu));
      else if (item.key() == "sourceInfoB")
        td.sourceInfoB = u16(v, where);
      else if (item.key() == "socketId")
        td.socketId = u16(v, where);
      else if (item.key() == "sourceMac" && v.is_array() && v.size() == 3)
        for (size_t i = 0; i < 3; ++i) td.sourceMac[i] = u16(v[i], where);
      else
        fail(where, "unknown or malformed field");
    }
  }
  if (j.contains("traceHitCounter")) d.traceHitCounter = hitCounterTable(j.at("traceHitCounter"));
  if (j.contains("attributeCount"))
    d.attributeCount = u16(j.at("attributeCount"), "attributeCount");
  if (j.contains("superTrace")) d.superTrace = SuperTraceSettings::fromJson(j.at("superTrace"));
  if (j.contains("measurements"))
    d.measurements = MeasurementFigures::fromJson(j.at("measurements"));
  return d;
}

AgentDescription AgentDescription::fromFile(const std::string& path) {
  std::ifstream in(path);
  if (!in) throw Error("cannot open description " + path);
  json j;
  try {
    j = json::parse(in);
  } catch (const json::exception& e) {
    throw Error(path + ": " + e.what());
  }
  const std::string dir = std::filesystem::absolute(path).parent_path().string();
  try {
    return fromJson(j, dir);
  } catch (const Error& e) {
    throw Error(path + ": " + e.what());
  }
}

std::optional<uint16_t> AgentDescription::implementsCodeOf(uint16_t routineId) const {
  std::optional<uint16_t> code;
  for (const Attribute& a : attributes)
    if (a.routineId == routineId && a.propertyType == 0) code = a.value[0];
  return code;
}

}  // namespace kvn::daxosim
