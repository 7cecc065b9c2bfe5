#include "service/datapath/recorder_stop_cmd_session.h"

#include <memory>

#include "service/datapath/super_trace_stop.h"

namespace kvn {

void RecorderStopCmdSession::start() {
  run(std::make_shared<SuperTraceStop>(agents, printAndEnd()));
}

}  // namespace kvn
