#pragma once
// What the features above the agent model add to an agent's record while it connects: their
// controllers for the functions the agent deploys, and what they send it at the start. The model
// calls every registered set of hooks, in the order of registration, at three points of a build.

#include <stdint.h>

namespace kvn {

struct DaxoRecord;

class DaxoConnectHooks {
 public:
  virtual ~DaxoConnectHooks() = default;

  // The record is fresh and has its container readers; nothing is deployed yet.
  virtual void building(DaxoRecord& record) {}
  // The routine of function `code` is deployed: its id and proxies stand in the record.
  virtual void deployed(DaxoRecord& record, uint16_t code) {}
  // Every routine is deployed; the agent can be sent what it starts with.
  virtual void built(DaxoRecord& record) {}
};

}  // namespace kvn
