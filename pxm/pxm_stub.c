/* Placeholder until the hub client is written: every call fails. */
#include "pxm/pxm.h"
int32_t pxm_init(int32_t a, int32_t b, const void *c, const char *d, uint32_t e) { (void)a; (void)b; (void)c; (void)d; (void)e; return 1; }
void pxm_exit(void) {}
pxm_mbox_id_t pxm_create_mailbox(const char *n, uint32_t f) { (void)n; (void)f; return PXM_NO_MBOX; }
void pxm_delete_mailbox(pxm_mbox_id_t m) { (void)m; }
union pxm_msg *pxm_alloc(size_t s, uint32_t n) { (void)s; (void)n; return 0; }
void pxm_free(union pxm_msg **m) { (void)m; }
void pxm_send(union pxm_msg **m, pxm_mbox_id_t t, pxm_mbox_id_t f) { (void)m; (void)t; (void)f; }
union pxm_msg *pxm_receive(const uint32_t *fl, uint32_t t, pxm_mbox_id_t f) { (void)fl; (void)t; (void)f; return 0; }
pxm_mbox_id_t pxm_sender(union pxm_msg *m) { (void)m; return PXM_NO_MBOX; }
pxm_mbox_id_t pxm_receiver(union pxm_msg *m) { (void)m; return PXM_NO_MBOX; }
size_t pxm_size(union pxm_msg *m) { (void)m; return 0; }
int32_t pxm_setsize(union pxm_msg *m, size_t s) { (void)m; (void)s; return 0; }
pxm_mbox_id_t pxm_locate(const char *n) { (void)n; return PXM_NO_MBOX; }
void pxm_locate_async(const char *n, union pxm_msg **m, pxm_mbox_id_t f) { (void)n; (void)m; (void)f; }
int32_t pxm_get_name(pxm_mbox_id_t m, char *n, uint32_t s) { (void)m; (void)n; (void)s; return 0; }
pxm_monitor_id_t pxm_monitor(pxm_mbox_id_t mb, union pxm_msg **m) { (void)mb; (void)m; return 0; }
void pxm_unmonitor(pxm_monitor_id_t m) { (void)m; }
