// pxm-ns: looks at the name server of a namespace's hub.
//
//   pxm-ns [--namespace NS] list          every publication: service, huntpath, mailbox
//   pxm-ns [--namespace NS] lookup NAME   the publications of one name (exit 1: none)
//   pxm-ns [--namespace NS] watch NAME    "watching NAME" once subscribed, then one line per
//                                         publication that exists or comes ("added") and
//                                         that goes ("removed"), until SIGINT or SIGTERM
//
// Lines are tab-separated, so that names with blanks stay whole: [event] service huntpath id.

#include <getopt.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>

#include <cstring>
#include <string>

#include "pxm/ns.h"
#include "pxm/ns_admin.h"
#include "pxm/pxm.h"

namespace {

volatile sig_atomic_t g_stop = 0;
void onStop(int) { g_stop = 1; }

constexpr int kUsage = 2;
constexpr uint32_t kPollMs = 200;

void usage(FILE* out) {
  fprintf(out,
          "usage: pxm-ns [--namespace NS] list\n"
          "       pxm-ns [--namespace NS] lookup NAME\n"
          "       pxm-ns [--namespace NS] watch NAME\n"
          "Shows the service names published in the hub's name server: service, huntpath\n"
          "and mailbox id, tab-separated. watch prints \"added\" and \"removed\" lines as\n"
          "publications come and go, until Ctrl-C.\n");
}

// Prints a lookup or list result and frees it; the number of entries.
int printList(pxm_msg* list) {
  int n = 0;
  for (pxm_msg* m = list; m; ++n) {
    const auto* entry = reinterpret_cast<const ns_lookup_entry*>(m);
    const size_t size = pxm_size(m);
    const char* hunt = entry->names + entry->name_length;
    if (entry->name_length == 0 || NS_LOOKUP_ENTRY_HEADER + entry->name_length >= size) break;
    printf("%s\t%.*s\t%u\n", entry->names,
           static_cast<int>(size - NS_LOOKUP_ENTRY_HEADER - entry->name_length), hunt,
           static_cast<unsigned>(entry->mbox));
    m = entry->next;
  }
  pxm_free(&list);
  fflush(stdout);
  return n;
}

// One indication of a watch, printed; false for a message that is not one.
bool printIndication(pxm_msg* msg) {
  const size_t size = pxm_size(msg);
  const char* bytes = reinterpret_cast<const char*>(msg);
  if (size < NS_SERVICE_IND_HEADER) return false;
  uint32_t words[5];
  std::memcpy(words, bytes, sizeof words);
  const size_t nameSize = words[3];
  if (nameSize == 0 || nameSize > size - NS_SERVICE_IND_HEADER) return false;
  const char* name = bytes + NS_SERVICE_IND_HEADER;
  const char* hunt = name + nameSize;
  const size_t huntRoom = size - NS_SERVICE_IND_HEADER - nameSize;
  printf("%s\t%.*s\t%.*s\t%u\n", words[0] == VOLD_SERVICE_ADDED_IND ? "added" : "removed",
         static_cast<int>(strnlen(name, nameSize)), name, static_cast<int>(strnlen(hunt, huntRoom)),
         hunt, words[2]);
  fflush(stdout);
  return true;
}

int watch(const char* name, pxm_mbox_id_t mbox) {
  if (ns_subscribe(name, "legacy", 1, mbox) != NS_OK) {
    fprintf(stderr, "pxm-ns: cannot subscribe to %s\n", name);
    return 1;
  }
  static const uint32_t filter[] = {3, VOLD_SUBSCRIBE_RSP, VOLD_SERVICE_ADDED_IND,
                                    VOLD_SERVICE_REMOVED_IND};
  while (!g_stop) {
    pxm_msg* msg = pxm_receive(filter, kPollMs, PXM_FROM_ALL);
    if (!msg) continue;
    if (msg->msgno == VOLD_SUBSCRIBE_RSP) {
      printf("watching\t%s\n", name);
      fflush(stdout);
    } else {
      printIndication(msg);
    }
    pxm_free(&msg);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::string nameSpace;
  static const option options[] = {{"namespace", required_argument, nullptr, 'n'},
                                   {"help", no_argument, nullptr, 'h'},
                                   {nullptr, 0, nullptr, 0}};
  for (int c; (c = getopt_long(argc, argv, "+n:h", options, nullptr)) != -1;) {
    if (c == 'n') {
      nameSpace = optarg;
    } else if (c == 'h') {
      usage(stdout);
      return 0;
    } else {
      usage(stderr);
      return kUsage;
    }
  }
  const int left = argc - optind;
  const std::string command = left > 0 ? argv[optind] : "";
  const bool named = command == "lookup" || command == "watch";
  if (!(command == "list" && left == 1) && !(named && left == 2)) {
    usage(stderr);
    return kUsage;
  }

  struct sigaction sa {};
  sa.sa_handler = onStop;
  sigaction(SIGINT, &sa, nullptr);
  sigaction(SIGTERM, &sa, nullptr);

  const unsigned char params[36] = {};
  const int32_t rc = pxm_init(1, 0, params, nameSpace.empty() ? nullptr : nameSpace.c_str(), 0);
  if (rc != 0) {
    fprintf(stderr, "pxm-ns: no mailbox hub for this namespace (pxm_init: %d)\n", rc);
    return 1;
  }
  int status = 0;
  if (command == "list") {
    printList(pxm_ns_list(-1));
  } else {
    // Unnamed: the tool itself cannot be located.
    const pxm_mbox_id_t mbox = pxm_create_mailbox(nullptr, 0);
    if (mbox == PXM_NO_MBOX) {
      fprintf(stderr, "pxm-ns: cannot create a mailbox\n");
      status = 1;
    } else if (command == "lookup") {
      status = printList(ns_lookup(argv[optind + 1], "", mbox, -1, 1000)) > 0 ? 0 : 1;
    } else {
      status = watch(argv[optind + 1], mbox);
    }
  }
  pxm_exit();
  return status;
}
