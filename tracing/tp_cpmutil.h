// Tracepoint provider com_halvorne_kvn_cpmutil: the log levels of this unit.
#undef LTTNG_UST_TRACEPOINT_PROVIDER
#define LTTNG_UST_TRACEPOINT_PROVIDER com_halvorne_kvn_cpmutil

#undef LTTNG_UST_TRACEPOINT_INCLUDE
#define LTTNG_UST_TRACEPOINT_INCLUDE "tracing/tp_cpmutil.h"

#if !defined(KVN_TRACING_TP_CPMUTIL_H) || defined(LTTNG_UST_TRACEPOINT_HEADER_MULTI_READ)
#define KVN_TRACING_TP_CPMUTIL_H

#include <lttng/tracepoint.h>
#include <stdint.h>

LTTNG_UST_TRACEPOINT_EVENT_CLASS(
    com_halvorne_kvn_cpmutil, log,
    LTTNG_UST_TP_ARGS(int, pid, const char*, proc, const char*, fileAndLine, const char*, msg),
    LTTNG_UST_TP_FIELDS(lttng_ust_field_integer(int, pid, pid) lttng_ust_field_string(proc, proc)
                            lttng_ust_field_string(fileAndLine, fileAndLine)
                                lttng_ust_field_string(msg, msg)))

LTTNG_UST_TRACEPOINT_EVENT_INSTANCE(com_halvorne_kvn_cpmutil, log, com_halvorne_kvn_cpmutil, ERROR,
                                    LTTNG_UST_TP_ARGS(int, pid, const char*, proc, const char*,
                                                      fileAndLine, const char*, msg))
LTTNG_UST_TRACEPOINT_LOGLEVEL(com_halvorne_kvn_cpmutil, ERROR, LTTNG_UST_TRACEPOINT_LOGLEVEL_ERR)

LTTNG_UST_TRACEPOINT_EVENT_INSTANCE(com_halvorne_kvn_cpmutil, log, com_halvorne_kvn_cpmutil, INFO,
                                    LTTNG_UST_TP_ARGS(int, pid, const char*, proc, const char*,
                                                      fileAndLine, const char*, msg))
LTTNG_UST_TRACEPOINT_LOGLEVEL(com_halvorne_kvn_cpmutil, INFO, LTTNG_UST_TRACEPOINT_LOGLEVEL_INFO)

LTTNG_UST_TRACEPOINT_EVENT_INSTANCE(com_halvorne_kvn_cpmutil, log, com_halvorne_kvn_cpmutil, DEBUG,
                                    LTTNG_UST_TP_ARGS(int, pid, const char*, proc, const char*,
                                                      fileAndLine, const char*, msg))
LTTNG_UST_TRACEPOINT_LOGLEVEL(com_halvorne_kvn_cpmutil, DEBUG, LTTNG_UST_TRACEPOINT_LOGLEVEL_DEBUG)

LTTNG_UST_TRACEPOINT_EVENT(
    com_halvorne_kvn_cpmutil, CMD_START,
    LTTNG_UST_TP_ARGS(int, pid, const char*, proc, uint16_t, cmdId, const char*, cmdLine),
    LTTNG_UST_TP_FIELDS(lttng_ust_field_integer(int, pid, pid) lttng_ust_field_string(proc, proc)
                            lttng_ust_field_integer(uint16_t, cmdId, cmdId)
                                lttng_ust_field_string(cmdLine, cmdLine)))
LTTNG_UST_TRACEPOINT_LOGLEVEL(com_halvorne_kvn_cpmutil, CMD_START,
                              LTTNG_UST_TRACEPOINT_LOGLEVEL_INFO)

LTTNG_UST_TRACEPOINT_EVENT(
    com_halvorne_kvn_cpmutil, CMD_END,
    LTTNG_UST_TP_ARGS(int, pid, const char*, proc, uint16_t, cmdId, uint8_t, retVal),
    LTTNG_UST_TP_FIELDS(lttng_ust_field_integer(int, pid, pid) lttng_ust_field_string(proc, proc)
                            lttng_ust_field_integer(uint16_t, cmdId, cmdId)
                                lttng_ust_field_integer(uint8_t, retVal, retVal)))
LTTNG_UST_TRACEPOINT_LOGLEVEL(com_halvorne_kvn_cpmutil, CMD_END, LTTNG_UST_TRACEPOINT_LOGLEVEL_INFO)

#endif

#include <lttng/tracepoint-event.h>
