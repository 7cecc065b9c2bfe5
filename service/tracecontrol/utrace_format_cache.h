#pragma once
// The format texts of the utrace points of each agent (table "tracestr" of its metadata module),
// for those that print what a trace point carries. Keyed by the agent number.

#include <stddef.h>
#include <stdint.h>

#include <map>
#include <string>
#include <vector>

namespace kvn {

class UtraceFormatCache {
 public:
  // Reads the texts of `<loadModuleName>_META` in the container at `lmcPath`, replacing what
  // was kept for the agent.
  void load(uint16_t snid, const std::string& lmcPath, const std::string& loadModuleName);
  // Stores texts as if they had been loaded.
  void set(uint16_t snid, std::vector<std::string> texts);

  // The text at `index`, or null (logged) when the agent has none or the index is past the end.
  const char* formatByIndex(uint16_t snid, size_t index) const;
  // The agent's texts, or null (logged).
  const std::vector<std::string>* tableFor(uint16_t snid) const;

 private:
  std::map<uint16_t, std::vector<std::string>> formats_;
};

}  // namespace kvn
