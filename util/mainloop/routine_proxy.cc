#include "util/mainloop/routine_proxy.h"

namespace kvn {

void RoutineProxy::pxm_message(pxm_msg*& msg, size_t msgsize) {
  target_->pxm_message(msg, msgsize);
}

}  // namespace kvn
