#include "daxo-sim/signal_catalog.h"

namespace kvn::daxosim {

namespace {

struct Entry {
  uint16_t code;
  uint16_t submsgno;
  const char* name;
};

// Requests and indications towards the agent, by the routine kind that serves them.
constexpr Entry kRequests[] = {
    {4, 0, "KVN_SUPERTRACE_CONSUMER_START_IND"},
    {4, 1, "KVN_SUPERTRACE_CONSUMER_STOP_REQ"},
    {4, 3, "KVN_SUPERTRACE_PRODUCER_START_IND"},
    {4, 4, "KVN_SUPERTRACE_PRODUCER_STOP_REQ"},
    {6, 0, "KVN_TRACE_DEST_ALLOC_REQ"},
    {6, 3, "KVN_TRACE_DEST_FREE_REQ"},
    {6, 6, "KVN_TRACE_DEST_CONFIG_REQ"},
    {6, 9, "KVN_TRACE_DEST_OPEN_REQ"},
    {6, 12, "KVN_TRACE_DEST_CLOSE_REQ"},
    {8, 0, "KVN_TRACE_SIG_TO_CONNECTION_ATTACH_REQ"},
    {8, 1, "KVN_TRACE_SIG_TO_CONNECTION_DETACH_REQ"},
    {9, 6, "KVN_SUPERTRACE_BUFFER_SETUP_REQ"},
    {9, 10, "KVN_SUPERTRACE_BUFFER_INDEX_REQ"},
    {9, 12, "KVN_SUPERTRACE_BUFFER_DATA_REQ"},
    {10, 0, "KVN_RTT_SET_REGISTER_REQ"},
    {11, 0, "KVN_DSPLOAD_START_REQ"},
    {11, 2, "KVN_DSPLOAD_STOP_REQ"},
    {11, 4, "KVN_DSPLOAD_PRINT_REQ"},
    {11, 7, "KVN_CMPOOL_USAGE_REQ"},
    {13, 0, "KVN_TRACE_HIT_COUNTER_INFO_REQ"},
    {13, 2, "KVN_TRACE_HIT_COUNTER_DATA_REQ"},
    {13, 4, "KVN_TRACE_HIT_COUNTER_CLEAR_REQ"},
    {14, 0, "KVN_TRACEOBJECT_SETMASK_REQ"},
    {14, 2, "KVN_TRACEOBJECT_INJECT_UREQ"},
    {15, 0, "KVN_UTRACE_SET_CONFIG_REQ"},
};

}  // namespace

const char* SignalCatalog::requestName(uint16_t implementsCode, uint16_t submsgno) {
  for (const Entry& e : kRequests)
    if (e.code == implementsCode && e.submsgno == submsgno) return e.name;
  return nullptr;
}

}  // namespace kvn::daxosim
