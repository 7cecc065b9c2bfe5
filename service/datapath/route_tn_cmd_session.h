#pragma once
// `zoth route` to a named network destination: before the links are attached, the agent's
// transport session to the destination is set up (port, UDP session, socket), and the links are
// attached to the socket it gives. An abort takes the source off the destination again.

#include <stdint.h>

#include <string>

#include "service/datapath/route_cmd_session.h"

namespace kvn {

class RouteTnCmdSession : public RouteCmdSession {
 public:
  RouteTnCmdSession(uint16_t daxo, uint32_t destSocket, std::string destName, uint32_t source);

  void abort(KvnTraceCtrlTaviAbortInd*& msg, size_t msgsize) override;

 protected:
  void attachConnection() override;
};

}  // namespace kvn
