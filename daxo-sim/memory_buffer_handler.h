#pragma once
// The agent's memory buffer routine (IMPLEMENTS 9): a set-up request empties the simulated
// buffer for a new recording or stream, and is confirmed at once. The index request answers the
// directory of the blocks in the buffer, or the description's fixed index, and data requests are
// served from the blocks of the last index answered, so that block numbers keep their meaning
// while a dump runs.

#include <stdint.h>

#include <optional>
#include <vector>

#include "daxo-sim/agent_handler.h"
#include "daxo-sim/simulated_buffer.h"
#include "daxo-sim/super_trace_settings.h"
#include "service/signals/daxo_connect_signals.h"

namespace kvn::daxosim {

class MemoryBufferHandler : public AgentHandler {
 public:
  static constexpr uint16_t kImplementsCode = kImplementsMemoryBuffer;
  static constexpr size_t kMaxBlockHeaders = 65535;

  explicit MemoryBufferHandler(SimulatedBuffer& buffer,
                               std::optional<SuperTraceSettings::FixedIndex> fixed = {})
      : buffer_(buffer), fixed_(std::move(fixed)) {}

  void handle(const Request& request, const ReplyPath& reply, nlohmann::json& entry) override;

  // The body of an index confirm for `blocks` (at most 65535 of them), in network order.
  static std::vector<uint8_t> indexBody(uint32_t blockSize,
                                        const std::vector<SimulatedBuffer::Block>& blocks);

 private:
  void takeIndex();

  SimulatedBuffer& buffer_;
  std::optional<SuperTraceSettings::FixedIndex> fixed_;
  std::vector<SimulatedBuffer::Block> indexed_;
  bool hasIndex_ = false;
};

}  // namespace kvn::daxosim
