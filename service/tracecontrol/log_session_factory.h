#pragma once
// Makes the sessions of `zorf log` for its parser. A test or a later sub-command replaces a
// kind of session by overriding its operation.

#include <stdint.h>

#include <memory>
#include <string>
#include <vector>

#include "util/cmd/cmd_session.h"

namespace kvn {

class LogSessionFactory {
 public:
  virtual ~LogSessionFactory() = default;

  virtual std::shared_ptr<CmdSession> createToggleSession(const std::vector<uint16_t>& agents,
                                                          const std::vector<std::string>& names,
                                                          bool enable, bool verbose);
  // `profiles`: the -p form, profiles and manual changes instead of the enabled groups.
  virtual std::shared_ptr<CmdSession> createStatusSession(const std::vector<uint16_t>& agents,
                                                          bool profiles);
  // The status's plain form that also writes each agent's saved trace state.
  virtual std::shared_ptr<CmdSession> createSaveSession(const std::vector<uint16_t>& agents);
  virtual std::shared_ptr<CmdSession> createResetSession(const std::vector<uint16_t>& agents);
  virtual std::shared_ptr<CmdSession> createResetSession(const std::vector<uint16_t>& agents,
                                                         const std::string& name, uint32_t mask);
};

}  // namespace kvn
