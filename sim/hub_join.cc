#include "sim/hub_join.h"

#include <errno.h>
#include <stdio.h>

#include "pxm/pxm.h"

namespace kvn::sim {

bool joinHub(const std::string& nameSpace) {
  unsigned char schemeParams[36] = {};
  const char* ns = nameSpace.empty() ? nullptr : nameSpace.c_str();
  if (int32_t rc = pxm_init(2, 0, schemeParams, ns, 0); rc != 0) {
    fprintf(stderr, "%s: cannot reach the mailbox hub (pxm_init returned %d)\n",
            program_invocation_short_name, rc);
    return false;
  }
  return true;
}

uint32_t openMailbox(const std::string& name) {
  const uint32_t id = pxm_create_mailbox(name.c_str(), 0);
  if (id == PXM_NO_MBOX)
    fprintf(stderr, "%s: cannot create mailbox \"%s\"\n", program_invocation_short_name,
            name.c_str());
  return id;
}

}  // namespace kvn::sim
