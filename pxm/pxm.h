/* The mailbox library: messages between the threads and processes of one machine, carried by
 * the pxmd hub. A C interface, so that any program can link to it or load it. */
#ifndef PXM_PXM_H
#define PXM_PXM_H

#include <stddef.h>
#include <stdint.h>

/* A C header for any program, its tables kept in columns. */
/* clang-format off */
#ifdef __cplusplus
extern "C" {
#endif

typedef uint32_t pxm_mbox_id_t;
typedef uint32_t pxm_monitor_id_t;
union pxm_msg { uint32_t msgno; };          /* a message starts with its number */
#define PXM_MY_MBOX   0xFFF00000u            /* "from": the calling thread's own mailbox */
#define PXM_FROM_ALL  0xFFF11111u            /* receive: from any sender */
#define PXM_NO_TMO    0xFFFFFFFFu            /* receive: wait without limit */
#define PXM_NO_MBOX   0xFFFFFFFFu            /* no such mailbox (the -1 of the tables) */
#define PXM_MBOX_GONE 0x1901001u             /* the library's own monitor message */

/* Results of pxm_init. The hub refuses a process at connect (5 to 7) with a reason that
 * pxm_init_refusal() gives in words. */
#define PXM_INIT_OK 0
#define PXM_INIT_NO_HUB 1              /* nothing listens for the namespace */
#define PXM_INIT_BAD_NAMESPACE 2       /* not a valid namespace name */
#define PXM_INIT_HANDSHAKE 3           /* the hub did not answer the greeting as expected */
#define PXM_INIT_ALREADY 4             /* pxm_init was called already, without pxm_exit */
#define PXM_INIT_NOT_ALLOWED 5         /* the caller's user may not reach the hub: neither the
                                          hub's user nor a member of its group */
#define PXM_INIT_TOO_MANY_OF_USER 6    /* the caller's user has as many connections as the hub
                                          allows one user */
#define PXM_INIT_TOO_MANY 7            /* the hub has as many connections as it allows */

int32_t pxm_init(int32_t mailbox_count, int32_t alloc_scheme, const void *scheme_params,
                 const char *name_space, uint32_t flags);
/* Why the last pxm_init of the process was refused (results 5 to 7), e.g. "not a member of
 * group kvn"; empty after any other result. Valid until the next pxm_init. */
const char *pxm_init_refusal(void);
void pxm_exit(void);
pxm_mbox_id_t pxm_create_mailbox(const char *name, uint32_t flags);
void pxm_delete_mailbox(pxm_mbox_id_t mbox);
union pxm_msg *pxm_alloc(size_t size, uint32_t msgno);
void pxm_free(union pxm_msg **msg);
void pxm_send(union pxm_msg **msg, pxm_mbox_id_t to, pxm_mbox_id_t from);
union pxm_msg *pxm_receive(const uint32_t *filter, uint32_t tmo_ms, pxm_mbox_id_t from);
pxm_mbox_id_t pxm_sender(union pxm_msg *msg);
pxm_mbox_id_t pxm_receiver(union pxm_msg *msg);
size_t pxm_size(union pxm_msg *msg);
int32_t pxm_setsize(union pxm_msg *msg, size_t size);
pxm_mbox_id_t pxm_locate(const char *name);
void pxm_locate_async(const char *name, union pxm_msg **msg, pxm_mbox_id_t from);
int32_t pxm_get_name(pxm_mbox_id_t mbox, char *name, uint32_t size);
pxm_monitor_id_t pxm_monitor(pxm_mbox_id_t mbox, union pxm_msg **msg);
void pxm_unmonitor(pxm_monitor_id_t monitor);

#ifdef __cplusplus
}
#endif
/* clang-format on */

#endif /* PXM_PXM_H */
