#include "util/cmd/output_cmd_session.h"

namespace kvn {

OutputCmdSession::OutputCmdSession(const std::string& text, uint8_t result)
    : text(text + "\n"), result(result) {}

void OutputCmdSession::start() {
  print(text);
  end(result);
}

}  // namespace kvn
