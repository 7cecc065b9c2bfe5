/* The mailbox library: messages between the threads and processes of one machine, carried by
 * the pxmd hub. A C interface, so that any program can link to it or load it. */
#ifndef PXM_PXM_H
#define PXM_PXM_H

#include <stddef.h>
#include <stdint.h>

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

int32_t pxm_init(int32_t mailbox_count, int32_t alloc_scheme, const void *scheme_params,
                 const char *name_space, uint32_t flags);
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

#endif /* PXM_PXM_H */
