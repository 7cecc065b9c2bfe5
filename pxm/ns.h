/* The name server client: a process publishes service names for one of its mailboxes, looks
 * them up, and subscribes to them. The server lives in the pxmd hub; a name is held with the
 * publisher's mailbox and that mailbox's name (its huntpath) until it is unpublished or the
 * mailbox goes. Several mailboxes may publish one name. Part of libpxm; needs pxm_init.
 *
 * Every call that names a mailbox needs one of the calling process's own (PXM_MY_MBOX: the
 * calling thread's first). Service names, attributes and kinds are 1..NS_MAX_NAME bytes (the
 * attributes may be empty); a null text reads as empty. */
#ifndef PXM_NS_H
#define PXM_NS_H

#include <stddef.h>
#include <stdint.h>

#include "pxm/pxm.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Longest service name, attribute text or subscription kind, without terminator. */
#define NS_MAX_NAME 255u

/* Results of the int32_t calls. */
#define NS_OK 0
#define NS_NO_HUB 1         /* pxm_init not called, or the hub did not answer */
#define NS_BAD_ARGUMENT 2   /* empty, overlong or null text; a mailbox not of this process */
#define NS_NOT_PUBLISHED 3  /* unpublish of a name that this mailbox has not published */
#define NS_NOT_SUBSCRIBED 4 /* unsubscribe of an id that this mailbox does not hold */

/* What a subscription delivers to the subscribing mailbox, as ordinary messages from
 * PXM_NO_MBOX, all fields in host byte order:
 *
 *   VOLD_SUBSCRIBE_RSP      offset 0 msgno, 4 subscription id (u32), 8 the caller's tag (u64);
 *                           16 bytes. Comes first, once.
 *   VOLD_SERVICE_ADDED_IND  offset 0 msgno, 4 subscription id (u32), 8 the publisher's
 *                           mailbox (u32), 12 length of the service name with its terminator
 *                           (u32), 16 length of the huntpath with its terminator (u32),
 *                           20 the service name, NUL-terminated, then the huntpath,
 *                           NUL-terminated, at 20 + the name's length. One for each
 *                           publication that exists when the subscription is made, then one
 *                           for each that comes.
 *   VOLD_SERVICE_REMOVED_IND the layout of VOLD_SERVICE_ADDED_IND, for a publication that
 *                           went (unpublished, or its mailbox gone). */
#define VOLD_SUBSCRIBE_RSP 0x1900000u
#define VOLD_SERVICE_ADDED_IND 0x1900001u
#define VOLD_SERVICE_REMOVED_IND 0x1900002u
#define NS_SERVICE_IND_HEADER 20u /* where the service name starts in an indication */

/* One entry of the list that ns_lookup returns: a message of the library whose first word is
 * overwritten by the link to the next entry. Word 0 is the next entry (null at the end),
 * word 1 the publisher's mailbox, word 2 the length of the service name with its terminator;
 * the service name starts at offset 24 and the huntpath, NUL-terminated, at 24 + that length.
 * A word is pointer-sized: on a 32-bit build words are at 0, 4 and 8 and bytes 12..23 are
 * zero; on a 64-bit build they are at 0, 8 and 16. The name is at 24 on both. pxm_size() of
 * an entry covers the whole entry. */
struct ns_lookup_entry {
  union pxm_msg* next;
  uintptr_t mbox;
  uintptr_t name_length;
#if UINTPTR_MAX == 0xFFFFFFFFu
  uint32_t reserved[3];
#endif
  char names[];
};
#define NS_LOOKUP_ENTRY_HEADER 24u
#define NS_LOOKUP_ENTRY 0x1900003u /* the number an entry is allocated with */

/* Publishes `service` for `mbox`. Publishing a name the mailbox holds already is a success
 * that changes nothing. `extra` is accepted and not used. */
int32_t ns_publish(const char* service, const char* attributes, pxm_mbox_id_t mbox,
                   const char* extra);
/* Withdraws what `ns_publish` with the same service and mailbox made. */
int32_t ns_unpublish(const char* service, const char* attributes, pxm_mbox_id_t mbox,
                     const char* extra);
/* Subscribes `mbox` to `service`; the answer and the indications come as messages (above).
 * `kind` is kept with the subscription; every kind gets the same indications. */
int32_t ns_subscribe(const char* service, const char* kind, uint64_t tag, pxm_mbox_id_t mbox);
/* Ends a subscription of `mbox`; indications already on their way may still arrive. */
int32_t ns_unsubscribe(uint32_t subscription_id, pxm_mbox_id_t mbox);
/* The publications of `service` (with exactly these attributes when `attributes` is not
 * empty), oldest first, as a list of entries (above); at most `max_results` of them, all when
 * it is 0 or below. Null when there is none or the call failed. Waits at most `tmo_ms` for the
 * hub (a negative value: the library's own limit of 10 s). Freeing the head with pxm_free
 * frees the whole list; freeing an inner entry frees the rest of the list from it. */
union pxm_msg* ns_lookup(const char* service, const char* attributes, pxm_mbox_id_t mbox,
                         int32_t max_results, int32_t tmo_ms);

#ifdef __cplusplus
}
#endif

#endif /* PXM_NS_H */
