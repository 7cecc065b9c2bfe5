#pragma once
// `recorder start <daxo id>`: records, or streams when the agents' memory buffers are routed on
// to a destination. Every agent needs a source routed into its memory buffer, and all of them
// must agree on recording or streaming.

#include <stdint.h>

#include <vector>

#include "service/datapath/recorder_cmd_session.h"

namespace kvn {

class RecorderStartCmdSession : public RecorderCmdSession {
 public:
  explicit RecorderStartCmdSession(std::vector<uint16_t> agents)
      : RecorderCmdSession(std::move(agents)) {}

  void start() override;
};

}  // namespace kvn
