#include "service/measurements/hw_config_get_cmd_session.h"

#include <iomanip>
#include <sstream>
#include <utility>

#include "service/agents/daxo_trace_model.h"

namespace kvn {

HwConfigGetCmdSession::HwConfigGetCmdSession(std::vector<uint16_t> daxos, uint16_t registerId)
    : daxos(std::move(daxos)), registerId(registerId) {}

void HwConfigGetCmdSession::start() {
  std::ostringstream text;
  for (uint16_t n : daxos)
    text << "The register value on daxo " << n << " is 0x" << std::hex << std::setw(8)
         << std::setfill('0') << DaxoTraceModel::get(n).rttManager.registers[registerId] << std::dec
         << "\n";
  print(text.str());
  end(0);
}

}  // namespace kvn
