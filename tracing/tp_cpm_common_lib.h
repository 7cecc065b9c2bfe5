// Tracepoint provider com_halvorne_kvn_cpm_common_lib: the events of the container reader.
#undef LTTNG_UST_TRACEPOINT_PROVIDER
#define LTTNG_UST_TRACEPOINT_PROVIDER com_halvorne_kvn_cpm_common_lib

#undef LTTNG_UST_TRACEPOINT_INCLUDE
#define LTTNG_UST_TRACEPOINT_INCLUDE "tracing/tp_cpm_common_lib.h"

#if !defined(KVN_TRACING_TP_CPM_COMMON_LIB_H) || defined(LTTNG_UST_TRACEPOINT_HEADER_MULTI_READ)
#define KVN_TRACING_TP_CPM_COMMON_LIB_H

#include <lttng/tracepoint.h>
#include <stdint.h>

LTTNG_UST_TRACEPOINT_EVENT_CLASS(
    com_halvorne_kvn_cpm_common_lib, eqmh,
    LTTNG_UST_TP_ARGS(const char*, file, int, line, uint32_t, id, const char*, msg),
    LTTNG_UST_TP_FIELDS(lttng_ust_field_string(file, file) lttng_ust_field_integer(int, line, line)
                            lttng_ust_field_integer(uint32_t, id, id)
                                lttng_ust_field_string(msg, msg)))

LTTNG_UST_TRACEPOINT_EVENT_INSTANCE(com_halvorne_kvn_cpm_common_lib, eqmh,
                                    com_halvorne_kvn_cpm_common_lib, EqmhErrorEvent,
                                    LTTNG_UST_TP_ARGS(const char*, file, int, line, uint32_t, id,
                                                      const char*, msg))
LTTNG_UST_TRACEPOINT_LOGLEVEL(com_halvorne_kvn_cpm_common_lib, EqmhErrorEvent,
                              LTTNG_UST_TRACEPOINT_LOGLEVEL_ERR)

LTTNG_UST_TRACEPOINT_EVENT_INSTANCE(com_halvorne_kvn_cpm_common_lib, eqmh,
                                    com_halvorne_kvn_cpm_common_lib, EqmhInfoEvent,
                                    LTTNG_UST_TP_ARGS(const char*, file, int, line, uint32_t, id,
                                                      const char*, msg))
LTTNG_UST_TRACEPOINT_LOGLEVEL(com_halvorne_kvn_cpm_common_lib, EqmhInfoEvent,
                              LTTNG_UST_TRACEPOINT_LOGLEVEL_INFO)

LTTNG_UST_TRACEPOINT_EVENT_INSTANCE(com_halvorne_kvn_cpm_common_lib, eqmh,
                                    com_halvorne_kvn_cpm_common_lib, EqmhPrgDebugEvent,
                                    LTTNG_UST_TP_ARGS(const char*, file, int, line, uint32_t, id,
                                                      const char*, msg))
LTTNG_UST_TRACEPOINT_LOGLEVEL(com_halvorne_kvn_cpm_common_lib, EqmhPrgDebugEvent,
                              LTTNG_UST_TRACEPOINT_LOGLEVEL_DEBUG_PROGRAM)

LTTNG_UST_TRACEPOINT_EVENT_INSTANCE(com_halvorne_kvn_cpm_common_lib, eqmh,
                                    com_halvorne_kvn_cpm_common_lib, EqmhFuncDebugEvent,
                                    LTTNG_UST_TP_ARGS(const char*, file, int, line, uint32_t, id,
                                                      const char*, msg))
LTTNG_UST_TRACEPOINT_LOGLEVEL(com_halvorne_kvn_cpm_common_lib, EqmhFuncDebugEvent,
                              LTTNG_UST_TRACEPOINT_LOGLEVEL_DEBUG_FUNCTION)

LTTNG_UST_TRACEPOINT_EVENT_INSTANCE(com_halvorne_kvn_cpm_common_lib, eqmh,
                                    com_halvorne_kvn_cpm_common_lib, EqmhLineDebugEvent,
                                    LTTNG_UST_TP_ARGS(const char*, file, int, line, uint32_t, id,
                                                      const char*, msg))
LTTNG_UST_TRACEPOINT_LOGLEVEL(com_halvorne_kvn_cpm_common_lib, EqmhLineDebugEvent,
                              LTTNG_UST_TRACEPOINT_LOGLEVEL_DEBUG_LINE)

#endif

#include <lttng/tracepoint-event.h>
