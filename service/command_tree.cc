#include "service/command_tree.h"

#include "service/agents/info_cmd_parser.h"
#include "service/datapath/dest_cmd_parser.h"
#include "service/datapath/recorder_cmd_parser.h"
#include "service/datapath/route_cmd_parser.h"
#include "service/measurements/cm_pool_usage_cmd_parser.h"
#include "service/measurements/dsp_load_cmd_parser.h"
#include "service/measurements/echo_cmd_parser.h"
#include "service/measurements/hw_config_cmd_parser.h"
#include "service/measurements/trace_hit_counter_cmd_parser.h"
#include "service/tracecontrol/log_cmd_parser.h"
#include "service/tracecontrol/profile_cmd_parser.h"
#include "service/zorf_cmd_parser.h"

namespace kvn {

std::vector<std::shared_ptr<CmdParser>> makeCommandTree() {
  // Sub-commands are added below their root, from the root down, so that each learns its full
  // name.
  auto zoth = std::make_shared<CmdParser>("zoth", "Base band trace session.");
  zoth->addSubcommand(std::make_shared<InfoCmdParser>());
  zoth->addSubcommand(std::make_shared<TraceHitCounterCmdParser>());
  zoth->addSubcommand(std::make_shared<HwConfigCmdParser>());
  zoth->addSubcommand(std::make_shared<RouteCmdParser>());
  zoth->addSubcommand(std::make_shared<RecorderCmdParser>());
  zoth->addSubcommand(std::make_shared<DestCmdParser>());
  zoth->addSubcommand(std::make_shared<ProfileCmdParser>());
  zoth->addSubcommand(std::make_shared<EchoCmdParser>());
  auto zorf = std::make_shared<ZorfCmdParser>("zorf", "Base band trace & error.");
  zorf->addSubcommand(std::make_shared<LogCmdParser>());
  auto zomlek = std::make_shared<CmdParser>("zomlek", "Base band capacity session.");
  zomlek->addSubcommand(std::make_shared<DspLoadCmdParser>());
  zomlek->addSubcommand(std::make_shared<CmPoolUsageCmdParser>());
  return {zoth, zorf, zomlek};
}

}  // namespace kvn
