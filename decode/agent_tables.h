#pragma once
// What the decoder needs of an agent's container to print its records: the names of its trace
// objects, their formats, the trace strings and the names of its utrace points, all from the
// metadata module of one load module.

#include <stdint.h>

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace kvn::decode {

struct AgentTables {
  class Error : public std::runtime_error {
   public:
    using std::runtime_error::runtime_error;
  };

  std::vector<std::string> objectNames;    // "traceobjname", by strId
  std::vector<std::string> formats;        // "traceformat", by strId
  std::vector<std::string> strings;        // "tracestr", by utrace point id
  std::map<uint16_t, std::string> utrace;  // point names by id, from "utracemeta"

  // The tables of `loadModuleName` in the container at `lmcPath`; with an empty name, of the one
  // metadata module the container holds. Throws Error when the container cannot be read, or
  // the module is not named and there is not exactly one.
  static AgentTables load(const std::string& lmcPath, std::string loadModuleName);
};

}  // namespace kvn::decode
