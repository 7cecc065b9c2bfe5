#pragma once
// The session of every answer that is known when the command is parsed (usage, errors, help):
// prints its text and ends with its result.

#include <stdint.h>

#include <string>

#include "util/cmd/cmd_session.h"

namespace kvn {

class OutputCmdSession : public CmdSession {
 public:
  // The text is printed with a newline added.
  OutputCmdSession(const std::string& text, uint8_t result);

  void start() override;

  const std::string& getText() const { return text; }
  uint8_t getResult() const { return result; }

 private:
  std::string text;
  uint8_t result;
};

}  // namespace kvn
