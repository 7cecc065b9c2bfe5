#pragma once
// The bytes of an agent's connect message: InitialConnect to routine 0 or DaxoVersionConnect
// to routine 5, message number first in host order, every other field big-endian, at the
// offsets the service decodes them from.

#include <stdint.h>

#include <vector>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "daxo-sim/agent_description.h"
#include "service/signals/daxo_connect_signals.h"

namespace kvn::daxosim {

class ConnectMessage {
 public:
  static constexpr uint32_t kBaseSignalNo = kKvnObsSignalNo;
  static constexpr uint16_t kInitialRoutine = daxo_connect::kInitialRoutine;
  static constexpr uint16_t kVersionRoutine = daxo_connect::kVersionRoutine;
  static constexpr size_t kHeaderSize = sizeof(KvnObsSubMessageWithSubMsgNo);
  static constexpr size_t kAttributeSize = daxo_connect::kAttributeSize;
  static constexpr size_t kInitialFixedSize = daxo_connect::kInitialAttributes;
  static constexpr size_t kVersionFixedSize = daxo_connect::kVersionAttributes;

  // The whole message, ready to be copied into a mailbox message of the same size.
  static std::vector<uint8_t> encode(const AgentDescription& d);
};

}  // namespace kvn::daxosim
