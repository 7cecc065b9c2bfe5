#pragma once
// `zoth dest add|del|list` once parsed: changes or lists the destination store of the global
// context.

#include <stdint.h>

#include <memory>
#include <string>

#include "util/cmd/cmd_session.h"

namespace kvn {

class TraceDestination;

class DestCmdSession : public CmdSession {
 public:
  enum Operation : uint8_t { kAdd = 0, kDelete = 1, kList = 2 };

  DestCmdSession(Operation operation, std::string name,
                 std::shared_ptr<TraceDestination> destination = nullptr);

  void start() override;

 private:
  Operation operation;
  std::string name;
  std::shared_ptr<TraceDestination> destination;
};

}  // namespace kvn
