#pragma once
// The bytes of an agent's connect message: InitialConnect to routine 0 or DaxoVersionConnect
// to routine 5, message number first in host order, every other field big-endian.

#include <stdint.h>

#include <vector>

#include "daxo-sim/agent_description.h"

namespace kvn::daxosim {

class ConnectMessage {
 public:
  static constexpr uint32_t kBaseSignalNo = 0x170802D;
  static constexpr uint16_t kInitialRoutine = 0;
  static constexpr uint16_t kVersionRoutine = 5;
  static constexpr size_t kHeaderSize = 12;
  static constexpr size_t kAttributeSize = 10;
  static constexpr size_t kInitialFixedSize = 40;
  static constexpr size_t kVersionFixedSize = 318;

  // The whole message, ready to be copied into a mailbox message of the same size.
  static std::vector<uint8_t> encode(const AgentDescription& d);
};

}  // namespace kvn::daxosim
