#include "decode/agent_tables.h"

#include <stdlib.h>
#include <unistd.h>

#include "lmc/kvn_cpm_common_lm_hdl_lmc.h"
#include "tracetables/trace_lmc_reader.h"

namespace kvn::decode {

namespace {

constexpr const char* kMetaSuffix = "_META";

std::string onlyMetadataModule(const std::string& lmcPath) {
  KvnCpmCommon_lmHdlLmc container(lmcPath);
  if (!container.isOpen()) throw AgentTables::Error("cannot read the container " + lmcPath);
  std::vector<std::string> found;
  const size_t suffix = std::char_traits<char>::length(kMetaSuffix);
  for (const auto& [identity, lm] : container.getLms())
    if (identity.size() > suffix &&
        identity.compare(identity.size() - suffix, suffix, kMetaSuffix) == 0)
      found.push_back(identity.substr(0, identity.size() - suffix));
  if (found.size() == 1) return found[0];
  std::string text = "the container holds " + std::to_string(found.size()) +
                     " metadata modules; name one with --module";
  for (size_t i = 0; i < found.size(); ++i) text += (i == 0 ? ": " : ", ") + found[i];
  throw AgentTables::Error(text);
}

}  // namespace

AgentTables AgentTables::load(const std::string& lmcPath, std::string loadModuleName) {
  if (access(lmcPath.c_str(), R_OK) != 0) throw Error("cannot read the container " + lmcPath);
  if (loadModuleName.empty()) loadModuleName = onlyMetadataModule(lmcPath);
  kvntrace::TraceLmcReader reader(lmcPath);
  AgentTables t;
  t.objectNames = reader.getTraceObjectNames(loadModuleName);
  if (t.objectNames.empty() && reader.readTable(loadModuleName + kMetaSuffix, "").empty())
    throw Error("the container has no metadata module " + loadModuleName + kMetaSuffix);
  t.formats = reader.getTraceFormats(loadModuleName);
  t.strings = reader.readMetadataTable(loadModuleName, "tracestr");
  for (const std::string& line : reader.getUtraceMeta(loadModuleName)) {
    const size_t a = line.find(',');
    if (a == std::string::npos) continue;
    const unsigned long id = strtoul(line.c_str() + a + 1, nullptr, 10);
    if (id <= 0xFFFF) t.utrace[static_cast<uint16_t>(id)] = line.substr(0, a);
  }
  return t;
}

}  // namespace kvn::decode
