#pragma once
// `zorf log`: switching trace objects, utrace points and profiles on agents, resetting what was
// switched by hand, and printing or saving the state. The parser checks the words and the
// agents, and hands the work to a session from its factory.

#include <memory>
#include <string>
#include <vector>

#include "service/tracecontrol/log_session_factory.h"
#include "util/cmd/cmd_parser.h"

namespace kvn {

class LogCmdParser : public CmdParser {
 public:
  explicit LogCmdParser(
      std::shared_ptr<LogSessionFactory> factory = std::make_shared<LogSessionFactory>());

  std::shared_ptr<CmdSession> parse(const std::vector<std::string>& args) override;

  // The short help and the long one, with the list of trace groups at the end.
  const std::string& usageText() const { return usageText_; }

 private:
  std::shared_ptr<CmdSession> parseToggle(const std::vector<std::string>& words, bool verbose);
  std::shared_ptr<CmdSession> parseStatus(const std::vector<std::string>& words, bool profiles);
  std::shared_ptr<CmdSession> parseSave(const std::vector<std::string>& words);
  std::shared_ptr<CmdSession> parseListDuplicateObjects();
  std::shared_ptr<CmdSession> parseReset(const std::vector<std::string>& words);

  std::string usageText_;
  std::shared_ptr<LogSessionFactory> factory_;
};

}  // namespace kvn
