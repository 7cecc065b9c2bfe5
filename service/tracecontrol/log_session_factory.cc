#include "service/tracecontrol/log_session_factory.h"

#include "service/tracecontrol/log_reset_cmd_session.h"
#include "service/tracecontrol/log_status_cmd_session.h"
#include "service/tracecontrol/log_status_profile_cmd_session.h"
#include "service/tracecontrol/log_toggle_cmd_session.h"
#include "util/cmd/cmd_parser_error.h"

namespace kvn {

std::shared_ptr<CmdSession> LogSessionFactory::createToggleSession(
    const std::vector<uint16_t>& agents, const std::vector<std::string>& names, bool enable,
    bool verbose) {
  return std::make_shared<LogToggleCmdSession>(agents, names, enable, verbose);
}

std::shared_ptr<CmdSession> LogSessionFactory::createStatusSession(
    const std::vector<uint16_t>& agents, bool profiles) {
  if (profiles) return std::make_shared<LogStatusProfileCmdSession>(agents);
  return std::make_shared<LogStatusCmdSession>(agents, false);
}

std::shared_ptr<CmdSession> LogSessionFactory::createSaveSession(
    const std::vector<uint16_t>& agents) {
  return std::make_shared<LogStatusCmdSession>(agents, true);
}

std::shared_ptr<CmdSession> LogSessionFactory::createResetSession(
    const std::vector<uint16_t>& agents) {
  return std::make_shared<LogResetCmdSession>(agents, "", 0);
}

std::shared_ptr<CmdSession> LogSessionFactory::createResetSession(
    const std::vector<uint16_t>& agents, const std::string& name, uint32_t mask) {
  return std::make_shared<LogResetCmdSession>(agents, name, mask);
}

}  // namespace kvn
