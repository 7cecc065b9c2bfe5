#pragma once
// The table of the agents: one DaxoRecord for each possible agent number, 1 to 5, in one static
// array that lives to the end of the process. Built from the agents' connect messages; read and
// written by everything that talks to an agent. One thread: no locks.

#include <stddef.h>
#include <stdint.h>

#include <string>

#include "pxm/pxm.h"
#include "service/agents/daxo_record.h"
#include "service/signals/daxo_connect_signals.h"
#include "util/mainloop/event_id.h"

namespace kvn {

class DaxoConnectHooks;
class RoutineTable;

class DaxoTraceModel {
 public:
  static constexpr uint16_t MAX_DAXO_NUMBER = 5;

  // The record of an agent number, 1 to 5; the caller has the number from a match or a lookup.
  static DaxoRecord& get(uint16_t bbmHwNumber);
  // The id of the agent's current connection's lost event; the agent must have connected.
  static kvntrace::EventId getDaxoLostEvent(uint16_t bbmHwNumber);
  // The first agent whose mailbox is `mailbox`, or 0 in `bbmHwNumber`; true in both cases.
  static bool findByMailbox(uint32_t mailbox, uint16_t& bbmHwNumber);
  // The first agent ever connected whose lost event has this id, or 0.
  static uint16_t findByLostEvent(kvntrace::EventId eventId);

  // Replace the agent's record from its decoded connect message. True when the model is valid.
  static bool connect(const DaxoConnect& message, uint32_t mailbox, RoutineTable* routineTable);

  // Attach and detach a deployed forwarder link; `id` gets the forwarder's routine id, or 65535.
  static bool attachLink(uint16_t bbmHwNumber, uint16_t source, uint16_t destination, uint16_t& id);
  static bool detachLink(uint16_t bbmHwNumber, uint16_t source, uint16_t destination, uint16_t& id);

  // The path of the agent's saved trace state: LOG_DIR, else /tmp with TRACE_CONTROLLER_ID.
  static std::string savedStatePath(const DaxoRecord& record);
  // The features' part of every connect, called in the order added. The hooks must outlive
  // their registration.
  static void addConnectHooks(DaxoConnectHooks* hooks);
  static void removeConnectHooks(DaxoConnectHooks* hooks);

  // Every record back to its default state (what a fresh process has).
  static void resetAll();
};

}  // namespace kvn
