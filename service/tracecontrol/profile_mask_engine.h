#pragma once
// Works out, for one agent, which group bits a set of enabled profiles selects on each trace
// object: the profiles with all those they include, filtered for the agent's instance and role,
// OR-ed over their trace probes. The agent's container, name and role are fixed for a
// connection, so what is learned is kept: each profile's filtered probes and includes, each
// pattern compiled once, and the bits of the last profile set asked for. Asking again for the
// same set (every manual toggle does) costs nothing.

#include <stdint.h>

#include <map>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "service/tracecontrol/compiled_trace_pattern.h"
#include "service/tracecontrol/object_name_index.h"
#include "tracetables/profile.h"

namespace kvntrace {
class ProfileProvider;
}

namespace kvn {

struct DaxoRecord;

class ProfileMaskEngine {
 public:
  ProfileMaskEngine();
  ~ProfileMaskEngine();

  // The selected bits of each object of `record`, in list order. A name the agent's provider
  // does not hold selects nothing and is logged; without a provider nothing is selected.
  const std::vector<uint32_t>& bitsFor(const DaxoRecord& record,
                                       const std::set<std::string>& names);

  // The filtered profiles that `names` stand for, includes followed, each once.
  std::vector<const kvntrace::Profile*> expand(const DaxoRecord& record,
                                               const std::set<std::string>& names);

 private:
  struct Node {
    kvntrace::Profile filtered;
    std::vector<std::string> includes;
    std::vector<size_t> patterns;  // into patterns_
  };

  void resetIfStale(const DaxoRecord& record);
  // Null for a name the provider does not hold.
  const Node* node(const std::string& name);
  std::vector<const Node*> closure(const std::set<std::string>& names);

  // What the cache was built for.
  const kvntrace::ProfileProvider* provider_ = nullptr;
  std::string instance_;
  int role_ = -1;
  const TraceObjectEntry* objectsData_ = nullptr;
  size_t objectsSize_ = 0;

  std::set<std::string> allNames_;
  std::map<std::string, std::unique_ptr<Node>> nodes_;
  std::vector<CompiledTracePattern> patterns_;
  std::unordered_map<std::string, size_t> patternIds_;
  std::unique_ptr<ObjectNameIndex> index_;

  bool haveBits_ = false;
  std::set<std::string> bitsKey_;
  std::vector<uint32_t> bits_;
};

}  // namespace kvn
