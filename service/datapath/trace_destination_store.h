#pragma once
// The operator's trace destinations by name (in byte order), held in memory only. The route
// command reaches an agent's transport session through it:
//
//   store.startSession("net1", agent, source,
//                      [](uint16_t socketId) { /* attach to socketId */ },
//                      [](const std::string& text) { /* report text */ });
//   ...
//   store.stopSession(agent, source);   // the last source of an agent tears the session down
//
// `onReady` and `onFail` are called at most once between them, maybe at once; neither is called
// when the agent is lost (the caller hears of that by its own subscription).

#include <stdint.h>

#include <functional>
#include <map>
#include <memory>
#include <string>

#include "service/datapath/trace_destination_entry.h"

namespace kvn {

class DaxoConnectionMonitor;
class RoutineTable;
class TraceDestination;

class TraceDestinationStore {
 public:
  using OnReady = TraceDestinationEntry::OnReady;
  using OnFail = TraceDestinationEntry::OnFail;

  // Sessions are registered in `routineTable`; `monitor` (may be null) tells of lost agents.
  TraceDestinationStore(RoutineTable* routineTable, DaxoConnectionMonitor* monitor);

  // False when the name is taken.
  bool add(const std::string& name, std::shared_ptr<TraceDestination> destination);
  // False, with the operator's text in `out`, when the name is unknown or in use.
  bool remove(const std::string& name, std::string& out);
  bool exists(const std::string& name) const;
  void forEach(const std::function<void(const std::string&, const TraceDestination&)>& fn) const;

  // Routes `clientKey` of `agent` to the destination `name`.
  void startSession(const std::string& name, uint16_t agent, uint32_t clientKey, OnReady onReady,
                    OnFail onFail);
  // Takes `clientKey` of `agent` off every destination.
  void stopSession(uint16_t agent, uint32_t clientKey);

  // The entry of a name, or null.
  const TraceDestinationEntry* find(const std::string& name) const;

 private:
  std::shared_ptr<DaxoTnSession> makeSession(uint16_t agent,
                                             std::shared_ptr<TraceDestination> destination,
                                             OnReady onReady, OnFail onFail);

  RoutineTable* routineTable;
  DaxoConnectionMonitor* monitor;
  std::map<std::string, std::unique_ptr<TraceDestinationEntry>> entries;
};

}  // namespace kvn
