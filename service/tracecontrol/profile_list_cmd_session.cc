#include "service/tracecontrol/profile_list_cmd_session.h"

#include <fnmatch.h>

#include <utility>

#include "tracetables/profile_provider.h"

namespace kvn {

ProfileListCmdSession::ProfileListCmdSession(std::string expression, bool verbose,
                                             std::shared_ptr<kvntrace::ProfileProvider> provider)
    : expression(std::move(expression)), verbose(verbose), provider(std::move(provider)) {}

void ProfileListCmdSession::start() {
  print(render());
  end(0);
}

std::string ProfileListCmdSession::render() {
  out.str("");
  out << "Profiles:\n";
  for (const std::string& name : provider->getProfileNames()) {
    if (fnmatch(expression.c_str(), name.c_str(), 0) != 0) continue;
    out << name << "\n";
    // The names come from this provider, so the profile is there.
    if (verbose) out << provider->getProfile(name) << "\n";
  }
  return out.str();
}

}  // namespace kvn
