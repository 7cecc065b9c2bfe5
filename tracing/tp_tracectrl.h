// Tracepoint provider com_halvorne_kvn_tracectrl: the log levels of this unit.
#undef LTTNG_UST_TRACEPOINT_PROVIDER
#define LTTNG_UST_TRACEPOINT_PROVIDER com_halvorne_kvn_tracectrl

#undef LTTNG_UST_TRACEPOINT_INCLUDE
#define LTTNG_UST_TRACEPOINT_INCLUDE "tracing/tp_tracectrl.h"

#if !defined(KVN_TRACING_TP_TRACECTRL_H) || defined(LTTNG_UST_TRACEPOINT_HEADER_MULTI_READ)
#define KVN_TRACING_TP_TRACECTRL_H

#include <lttng/tracepoint.h>
#include <stdint.h>

LTTNG_UST_TRACEPOINT_EVENT_CLASS(
    com_halvorne_kvn_tracectrl, log,
    LTTNG_UST_TP_ARGS(int, pid, const char*, proc, const char*, fileAndLine, const char*, msg),
    LTTNG_UST_TP_FIELDS(lttng_ust_field_integer(int, pid, pid) lttng_ust_field_string(proc, proc)
                            lttng_ust_field_string(fileAndLine, fileAndLine)
                                lttng_ust_field_string(msg, msg)))

LTTNG_UST_TRACEPOINT_EVENT_INSTANCE(com_halvorne_kvn_tracectrl, log, com_halvorne_kvn_tracectrl,
                                    ERROR,
                                    LTTNG_UST_TP_ARGS(int, pid, const char*, proc, const char*,
                                                      fileAndLine, const char*, msg))
LTTNG_UST_TRACEPOINT_LOGLEVEL(com_halvorne_kvn_tracectrl, ERROR, LTTNG_UST_TRACEPOINT_LOGLEVEL_ERR)

LTTNG_UST_TRACEPOINT_EVENT_INSTANCE(com_halvorne_kvn_tracectrl, log, com_halvorne_kvn_tracectrl,
                                    INFO,
                                    LTTNG_UST_TP_ARGS(int, pid, const char*, proc, const char*,
                                                      fileAndLine, const char*, msg))
LTTNG_UST_TRACEPOINT_LOGLEVEL(com_halvorne_kvn_tracectrl, INFO, LTTNG_UST_TRACEPOINT_LOGLEVEL_INFO)

LTTNG_UST_TRACEPOINT_EVENT_INSTANCE(com_halvorne_kvn_tracectrl, log, com_halvorne_kvn_tracectrl,
                                    DEBUG,
                                    LTTNG_UST_TP_ARGS(int, pid, const char*, proc, const char*,
                                                      fileAndLine, const char*, msg))
LTTNG_UST_TRACEPOINT_LOGLEVEL(com_halvorne_kvn_tracectrl, DEBUG,
                              LTTNG_UST_TRACEPOINT_LOGLEVEL_DEBUG)

#endif

#include <lttng/tracepoint-event.h>
