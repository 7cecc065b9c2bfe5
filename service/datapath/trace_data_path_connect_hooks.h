#pragma once
// The trace data path's part of an agent's connect: the idle SuperTrace run that every record
// starts with, and a fresh pool of destination ports for an agent that deploys the trace
// destination function.

#include "service/agents/daxo_connect_hooks.h"

namespace kvn {

class TraceDataPathConnectHooks : public DaxoConnectHooks {
 public:
  void building(DaxoRecord& record) override;
  void deployed(DaxoRecord& record, uint16_t code) override;
};

}  // namespace kvn
