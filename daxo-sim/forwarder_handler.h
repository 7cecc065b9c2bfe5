#pragma once
// The agent's forwarder routines (IMPLEMENTS 8): attach and detach their link's parallel links to
// a destination socket, and keep which source is attached to which destination and socket. The
// journal line of each request carries the whole table afterwards. Either kind of request can be
// made to be rejected, to try the service's handling of a refusal.

#include <stdint.h>

#include <functional>
#include <map>
#include <utility>

#include "daxo-sim/agent_description.h"
#include "daxo-sim/agent_handler.h"
#include "service/signals/daxo_connect_signals.h"

namespace kvn::daxosim {

class ForwarderHandler : public AgentHandler {
 public:
  static constexpr uint16_t kImplementsCode = kImplementsForwarder;

  enum class Reject { kNone, kAttach, kDetach };

  struct Link {
    uint16_t source = 0;
    uint16_t destination = 0;
  };
  // An attached parallel link: forwarder routine and link index.
  using Key = std::pair<uint16_t, uint16_t>;

  ForwarderHandler(const AgentDescription& description, Reject reject);

  void handle(const Request& request, const ReplyPath& reply, nlohmann::json& entry) override;

  // Told of each confirmed attach and detach, with the link's source and destination kinds.
  using OnLinkChanged =
      std::function<void(uint16_t source, uint16_t destination, uint16_t socket, bool attached)>;
  void setOnLinkChanged(OnLinkChanged fn) { onLinkChanged_ = std::move(fn); }

  // The socket of each attached link.
  const std::map<Key, uint16_t>& attached() const { return attached_; }

 private:
  std::map<uint16_t, Link> links_;  // by forwarder routine, from the description
  Reject reject_;
  std::map<Key, uint16_t> attached_;
  OnLinkChanged onLinkChanged_;
};

}  // namespace kvn::daxosim
