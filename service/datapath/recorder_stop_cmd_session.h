#pragma once
// `recorder stop <daxo id>`: stops the recording or stream that the agents were started in
// together.

#include <stdint.h>

#include <vector>

#include "service/datapath/recorder_cmd_session.h"

namespace kvn {

class RecorderStopCmdSession : public RecorderCmdSession {
 public:
  explicit RecorderStopCmdSession(std::vector<uint16_t> agents)
      : RecorderCmdSession(std::move(agents)) {}

  void start() override;
};

}  // namespace kvn
