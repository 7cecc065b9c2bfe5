#pragma once
// Routine 1: takes the front end's command lines, finds the root command, lets the parser tree
// build the session, and starts it. Answers a request it cannot take (wrong version, unknown
// command) with a refusal, and a request it cannot read with a text and result 1.

#include <stddef.h>
#include <stdint.h>

#include <memory>
#include <string>
#include <vector>

#include "util/cmd/cmd_parser.h"
#include "util/cmd/cmd_session.h"
#include "util/cmd/tavi_command_proxy.h"
#include "util/mainloop/routine.h"

namespace kvn {

class CmdSessionFactory : public Routine {
 public:
  // Roots are matched in the order they were added.
  void addRootParser(std::shared_ptr<CmdParser> parser);

  void pxm_message(pxm_msg*& msg, size_t msgsize) override;

 private:
  // Connects the session to its front end, registers it and calls `start()`.
  void startSession(const std::shared_ptr<CmdSession>& session,
                    const std::shared_ptr<TaviCommandProxy>& proxy, const std::string& cmdLine);
  // Answers with `text` and result 1, logged as an error.
  void fail(const std::shared_ptr<TaviCommandProxy>& proxy, const std::string& text,
            const std::string& cmdLine);

  std::vector<std::shared_ptr<CmdParser>> rootParsers;
};

}  // namespace kvn
