#include "service/datapath/recorder_start_cmd_session.h"

#include <memory>
#include <sstream>

#include "service/agents/daxo_trace_model.h"
#include "service/datapath/super_trace.h"
#include "service/datapath/super_trace_run.h"
#include "service/datapath/super_trace_start.h"
#include "service/trace_controller_context.h"

namespace kvn {

void RecorderStartCmdSession::start() {
  std::ostringstream text;
  size_t streaming = 0;
  for (uint16_t agent : agents) {
    const DaxoRecord& r = DaxoTraceModel::get(agent);
    if (SuperTrace::sourceMask(r) == 0) text << "No valid route for daxo " << agent << ".\n";
    if (SuperTrace::isStreaming(r)) ++streaming;
  }
  if (text.tellp() == 0 && streaming != 0 && streaming != agents.size())
    text << "Can not decide whether to start a stream or a recording for daxos.\n"
         << "Assure that all daxos are either configured for streaming or not.\n";
  SuperTrace* controller = TraceControllerContext::get().superTrace;
  if (text.tellp() == 0 && !controller) text << "SuperTrace is not running\n";
  if (text.tellp() != 0) {
    print(text.str());
    end(1);
    return;
  }
  const uint32_t mode = streaming == 0 ? kSuperTraceRecording : kSuperTraceStreaming;
  run(std::make_shared<SuperTraceStart>(*controller, agents, mode, printAndEnd()));
}

}  // namespace kvn
