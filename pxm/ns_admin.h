/* The name server as the operators' tool sees it: everything that is published. Part of
 * libpxm beside ns.h; needs pxm_init. */
#ifndef PXM_NS_ADMIN_H
#define PXM_NS_ADMIN_H

#include <stdint.h>

#include "pxm/ns.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Every publication of the name server, by service name and then oldest first, as a list of
 * ns_lookup_entry messages like that of ns_lookup (free the head with pxm_free). Null when
 * nothing is published or the call failed; waits at most `tmo_ms` (negative: 10 s). */
union pxm_msg* pxm_ns_list(int32_t tmo_ms);

#ifdef __cplusplus
}
#endif

#endif /* PXM_NS_ADMIN_H */
