#pragma once
// `recorder status <daxo id>`: fetches the buffer index of every agent and prints, per agent, a
// table of what was recorded: all sources, then lpp, rtt and token.

#include <stdint.h>

#include <memory>
#include <string>
#include <vector>

#include "service/datapath/recorder_cmd_session.h"

namespace kvn {

class SuperTraceBufferIndex;
class SuperTraceStatus;

class RecorderStatusCmdSession : public RecorderCmdSession {
 public:
  explicit RecorderStatusCmdSession(std::vector<uint16_t> agents)
      : RecorderCmdSession(std::move(agents)) {}

  void start() override;

  // The text of one agent: heading, four rows, and the notes on what runs there now.
  static std::string table(uint16_t agent, const SuperTraceBufferIndex& index, bool recording,
                           bool streaming);

 private:
  void fetched(bool failed, const std::string& text);

  std::shared_ptr<SuperTraceStatus> status_;
};

}  // namespace kvn
