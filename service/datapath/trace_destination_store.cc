#include "service/datapath/trace_destination_store.h"

#include <utility>

#include "service/datapath/daxo_tn_session.h"
#include "service/datapath/trace_destination.h"
#include "util/mainloop/routine_table.h"

namespace kvn {

TraceDestinationStore::TraceDestinationStore(RoutineTable* routineTable,
                                             DaxoConnectionMonitor* monitor)
    : routineTable(routineTable), monitor(monitor) {}

bool TraceDestinationStore::add(const std::string& name,
                                std::shared_ptr<TraceDestination> destination) {
  if (entries.count(name) != 0) return false;
  entries.emplace(name, std::make_unique<TraceDestinationEntry>(
                            std::move(destination),
                            [this](uint16_t agent, std::shared_ptr<TraceDestination> d,
                                   OnReady onReady, OnFail onFail) {
                              return makeSession(agent, std::move(d), std::move(onReady),
                                                 std::move(onFail));
                            },
                            monitor));
  return true;
}

bool TraceDestinationStore::remove(const std::string& name, std::string& out) {
  auto it = entries.find(name);
  if (it == entries.end()) {
    out = "Destination name not found\n";
    return false;
  }
  if (it->second->inUse()) {
    out = "Destination is in use! Please remove route first.\n";
    return false;
  }
  entries.erase(it);
  return true;
}

bool TraceDestinationStore::exists(const std::string& name) const {
  return entries.count(name) != 0;
}

void TraceDestinationStore::forEach(
    const std::function<void(const std::string&, const TraceDestination&)>& fn) const {
  for (const auto& [name, entry] : entries) fn(name, *entry->getDestination());
}

const TraceDestinationEntry* TraceDestinationStore::find(const std::string& name) const {
  auto it = entries.find(name);
  return it == entries.end() ? nullptr : it->second.get();
}

void TraceDestinationStore::startSession(const std::string& name, uint16_t agent,
                                         uint32_t clientKey, OnReady onReady, OnFail onFail) {
  auto it = entries.find(name);
  if (it == entries.end()) {
    onFail("Destination name not found");
    return;
  }
  it->second->startSession(agent, clientKey, std::move(onReady), std::move(onFail));
}

void TraceDestinationStore::stopSession(uint16_t agent, uint32_t clientKey) {
  for (auto& [name, entry] : entries) entry->stopSession(agent, clientKey);
}

std::shared_ptr<DaxoTnSession> TraceDestinationStore::makeSession(
    uint16_t agent, std::shared_ptr<TraceDestination> destination, OnReady onReady, OnFail onFail) {
  auto session = std::make_shared<DaxoTnSession>(agent, std::move(destination), std::move(onReady),
                                                 std::move(onFail));
  routineTable->allocate(session);
  return session;
}

}  // namespace kvn
