#pragma once
// Learns the utrace points of one agent from its load module container.

#include <stdint.h>

#include <memory>
#include <string>
#include <vector>

#include "service/agents/utrace_point.h"

namespace kvntrace {
class TraceLmcReaderInterface;
}

namespace kvn {

class UTraceController {
 public:
  UTraceController(uint16_t bbmHwNumber, std::shared_ptr<kvntrace::TraceLmcReaderInterface> reader);
  virtual ~UTraceController();

  // Reads the "utracemeta" strings ("name,id,default") of the agent's module into the record's
  // points and index. A string that does not convert ends the load and leaves the record's
  // points as they were.
  void load();

  const std::vector<uint16_t>& defaults() const { return defaults_; }

  // The enabled points under the "Unique Trace Points" heading of the status: sorted by name,
  // grouped by the text before the last dot, at most nine suffixes a line.
  static std::string statusList(const std::vector<UtracePoint>& points);

 private:
  std::vector<uint16_t> defaults_;
  uint16_t bbmHwNumber_;
  std::shared_ptr<kvntrace::TraceLmcReaderInterface> reader_;
};

}  // namespace kvn
