#pragma once
// `zoth profile list`: the names of the profiles that match a glob, in the provider's order,
// and with the verbose flag each profile's table of trace probes. Answers in one step.

#include <memory>
#include <sstream>
#include <string>

#include "util/cmd/cmd_session.h"

namespace kvntrace {
class ProfileProvider;
}

namespace kvn {

class ProfileListCmdSession : public CmdSession {
 public:
  ProfileListCmdSession(std::string expression, bool verbose,
                        std::shared_ptr<kvntrace::ProfileProvider> provider);

  void start() override;

  // The text of the answer.
  std::string render();

 private:
  std::string expression;
  bool verbose;
  std::shared_ptr<kvntrace::ProfileProvider> provider;
  std::ostringstream out;
};

}  // namespace kvn
