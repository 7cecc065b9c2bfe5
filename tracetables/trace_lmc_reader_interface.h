#pragma once
// What the agent model and the utrace controller read of an agent's trace metadata. Every
// operation gives an empty list when anything fails; the failure is in the log.

#include <cstdint>
#include <string>
#include <vector>

namespace kvntrace {

class TraceLmcReaderInterface {
 public:
  virtual ~TraceLmcReaderInterface() = default;
  // Table "traceobjname" of module `<lmName>_META`.
  virtual std::vector<std::string> getTraceObjectNames(const std::string& lmName) = 0;
  // Table "stridtraceid": the trace id of each string id.
  virtual std::vector<int32_t> getStrIdToTraceId(const std::string& lmName) = 0;
  // Table "traceformat".
  virtual std::vector<std::string> getTraceFormats(const std::string& lmName) = 0;
  // The tables of module "bbDiagProfiles", then "DefaultProfile".
  virtual std::vector<std::string> getProfileNames() = 0;
  // The lines of one profile.
  virtual std::vector<std::string> getProfile(const std::string& name) = 0;
  // Table "utracemeta".
  virtual std::vector<std::string> getUtraceMeta(const std::string& lmName) = 0;
};

}  // namespace kvntrace
