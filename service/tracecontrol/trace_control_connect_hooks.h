#pragma once
// Trace object control's part of an agent's connect: the toggler, the mask and utrace senders
// for the functions the agent deploys, then the saved state applied once and every mask and
// utrace setting sent, with no answer awaited.

#include <functional>
#include <istream>

#include "service/agents/daxo_connect_hooks.h"

namespace kvn {

class TraceControlConnectHooks : public DaxoConnectHooks {
 public:
  // Reads a saved trace state into a record.
  using SavedStateReader = std::function<void(DaxoRecord&, std::istream&)>;

  void building(DaxoRecord& record) override;
  void deployed(DaxoRecord& record, uint16_t code) override;
  void built(DaxoRecord& record) override;

  // Replaces the reader of the saved state (a test's); null gives back the real one.
  void setSavedStateReader(SavedStateReader reader);

 private:
  SavedStateReader savedStateReader_;
};

}  // namespace kvn
