#include "sim/send_bytes.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

#include "pxm/pxm.h"

namespace kvn::sim {

void sendBytes(const std::vector<uint8_t>& bytes, uint32_t to) {
  uint32_t msgno;
  memcpy(&msgno, bytes.data(), sizeof msgno);
  pxm_msg* m = pxm_alloc(bytes.size(), msgno);
  if (!m) {
    fprintf(stderr, "%s: pxm_alloc(%zu) failed\n", program_invocation_short_name, bytes.size());
    return;
  }
  memcpy(reinterpret_cast<uint8_t*>(m), bytes.data(), bytes.size());
  pxm_send(&m, to, PXM_MY_MBOX);
}

}  // namespace kvn::sim
