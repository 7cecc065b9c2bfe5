#pragma once
// Owns a message until a send takes it: a message that never went out is freed, also when the
// send throws before it took the message.

#include <utility>

#include "pxm/pxm.h"
#include "util/mainloop/routine_table.h"

namespace kvn {

class UnsentMessage {
 public:
  explicit UnsentMessage(pxm_msg* msg) : msg_(msg) {}
  ~UnsentMessage() {
    if (msg_ != nullptr) RoutineTable::s_pxmsys->free(msg_);
  }
  UnsentMessage(const UnsentMessage&) = delete;
  UnsentMessage& operator=(const UnsentMessage&) = delete;

  // Hands the message to its send, which owns it from now on.
  pxm_msg* release() { return std::exchange(msg_, nullptr); }

 private:
  pxm_msg* msg_;
};

}  // namespace kvn
