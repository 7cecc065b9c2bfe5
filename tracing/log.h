#pragma once
// Logging of every unit: one LTTng tracepoint per level and provider. A call does nothing
// unless its tracepoint is enabled (or a LogSink wants the level). When it runs, the call
// site formats "file:line" and the message into two 256-byte static buffers of its own
// (longer text is cut), which is safe on the service's one thread.

#include <stdint.h>
#include <stdio.h>
#include <syslog.h>
#include <unistd.h>

#include "tracing/log_sink.h"
#include "tracing/tp_cpm_common_lib.h"
#include "tracing/tp_cpmutil.h"
#include "tracing/tp_lmcreader.h"
#include "tracing/tp_tracectrl.h"

// The `proc` field of the utility layer's tracepoints; main sets it once its options are read.
extern const char* kvnCpmUtilTraceProcField;
// The process-wide trace instance id that the container reader puts in its events.
extern uint32_t kvnCpmCommonTraceInstanceId;

namespace kvn::log {
// The part of a source path after its last '/'.
const char* baseName(const char* path);
}  // namespace kvn::log

#define KVN_LOG_IMPL_(provider, event, level, proc, ...)                                         \
  do {                                                                                           \
    const bool kvnTpOn_ = lttng_ust_tracepoint_enabled(provider, event);                         \
    if (kvnTpOn_ || ::kvn::log::LogSink::wants(level)) {                                         \
      static char kvnFileAndLine_[256];                                                          \
      static char kvnMsg_[256];                                                                  \
      snprintf(kvnFileAndLine_, sizeof kvnFileAndLine_, "%s:%d", ::kvn::log::baseName(__FILE__), \
               __LINE__);                                                                        \
      snprintf(kvnMsg_, sizeof kvnMsg_, __VA_ARGS__);                                            \
      if (kvnTpOn_)                                                                              \
        lttng_ust_do_tracepoint(provider, event, getpid(), proc, kvnFileAndLine_, kvnMsg_);      \
      ::kvn::log::LogSink::emit(#provider, #event, level, kvnFileAndLine_, kvnMsg_);             \
    }                                                                                            \
  } while (0)

// The service (com_halvorne_kvn_tracectrl); `proc` is empty.
#define TC_LOG_ERROR(...) \
  KVN_LOG_IMPL_(com_halvorne_kvn_tracectrl, ERROR, ::kvn::log::Level::Error, "", __VA_ARGS__)
#define TC_LOG_INFO(...) \
  KVN_LOG_IMPL_(com_halvorne_kvn_tracectrl, INFO, ::kvn::log::Level::Info, "", __VA_ARGS__)
#define TC_LOG_DEBUG(...) \
  KVN_LOG_IMPL_(com_halvorne_kvn_tracectrl, DEBUG, ::kvn::log::Level::Debug, "", __VA_ARGS__)

// The utility layer (com_halvorne_kvn_cpmutil).
#define CPMUTIL_LOG_ERROR(...)                                             \
  KVN_LOG_IMPL_(com_halvorne_kvn_cpmutil, ERROR, ::kvn::log::Level::Error, \
                kvnCpmUtilTraceProcField, __VA_ARGS__)
#define CPMUTIL_LOG_INFO(...)                                                                      \
  KVN_LOG_IMPL_(com_halvorne_kvn_cpmutil, INFO, ::kvn::log::Level::Info, kvnCpmUtilTraceProcField, \
                __VA_ARGS__)
#define CPMUTIL_LOG_DEBUG(...)                                             \
  KVN_LOG_IMPL_(com_halvorne_kvn_cpmutil, DEBUG, ::kvn::log::Level::Debug, \
                kvnCpmUtilTraceProcField, __VA_ARGS__)

// The trace table reader (com_halvorne_kvn_lmcreader); `proc` is empty.
#define LMCREADER_LOG_ERROR(...) \
  KVN_LOG_IMPL_(com_halvorne_kvn_lmcreader, ERROR, ::kvn::log::Level::Error, "", __VA_ARGS__)
#define LMCREADER_LOG_INFO(...) \
  KVN_LOG_IMPL_(com_halvorne_kvn_lmcreader, INFO, ::kvn::log::Level::Info, "", __VA_ARGS__)
#define LMCREADER_LOG_DEBUG(...) \
  KVN_LOG_IMPL_(com_halvorne_kvn_lmcreader, DEBUG, ::kvn::log::Level::Debug, "", __VA_ARGS__)

// Command life, on the utility layer's provider.
#define KVN_CMD_START(cmdId, cmdLine)                                                             \
  do {                                                                                            \
    const bool kvnTpOn_ = lttng_ust_tracepoint_enabled(com_halvorne_kvn_cpmutil, CMD_START);      \
    if (kvnTpOn_)                                                                                 \
      lttng_ust_do_tracepoint(com_halvorne_kvn_cpmutil, CMD_START, getpid(),                      \
                              kvnCpmUtilTraceProcField, (uint16_t)(cmdId), (cmdLine));            \
    if (::kvn::log::LogSink::wants(::kvn::log::Level::Info)) {                                    \
      char kvnMsg_[256];                                                                          \
      snprintf(kvnMsg_, sizeof kvnMsg_, "cmdId=%u cmdLine=%s", (unsigned)(uint16_t)(cmdId),       \
               (cmdLine));                                                                        \
      ::kvn::log::LogSink::emit("com_halvorne_kvn_cpmutil", "CMD_START", ::kvn::log::Level::Info, \
                                "", kvnMsg_);                                                     \
    }                                                                                             \
  } while (0)

#define KVN_CMD_END(cmdId, retVal)                                                              \
  do {                                                                                          \
    const bool kvnTpOn_ = lttng_ust_tracepoint_enabled(com_halvorne_kvn_cpmutil, CMD_END);      \
    if (kvnTpOn_)                                                                               \
      lttng_ust_do_tracepoint(com_halvorne_kvn_cpmutil, CMD_END, getpid(),                      \
                              kvnCpmUtilTraceProcField, (uint16_t)(cmdId), (uint8_t)(retVal));  \
    if (::kvn::log::LogSink::wants(::kvn::log::Level::Info)) {                                  \
      char kvnMsg_[64];                                                                         \
      snprintf(kvnMsg_, sizeof kvnMsg_, "cmdId=%u retVal=%u", (unsigned)(uint16_t)(cmdId),      \
               (unsigned)(uint8_t)(retVal));                                                    \
      ::kvn::log::LogSink::emit("com_halvorne_kvn_cpmutil", "CMD_END", ::kvn::log::Level::Info, \
                                "", kvnMsg_);                                                   \
    }                                                                                           \
  } while (0)

// The container reader (com_halvorne_kvn_cpm_common_lib). Errors also go to syslog with
// priority 14, whether or not the tracepoint is enabled.
#define KVN_EQMH_IMPL_(event, level, alsoSyslog, ...)                                           \
  do {                                                                                          \
    const bool kvnTpOn_ = lttng_ust_tracepoint_enabled(com_halvorne_kvn_cpm_common_lib, event); \
    if (alsoSyslog || kvnTpOn_ || ::kvn::log::LogSink::wants(level)) {                          \
      static char kvnMsg_[256];                                                                 \
      const char* kvnFile_ = ::kvn::log::baseName(__FILE__);                                    \
      snprintf(kvnMsg_, sizeof kvnMsg_, __VA_ARGS__);                                           \
      if (kvnTpOn_)                                                                             \
        lttng_ust_do_tracepoint(com_halvorne_kvn_cpm_common_lib, event, kvnFile_, __LINE__,     \
                                kvnCpmCommonTraceInstanceId, kvnMsg_);                          \
      if (alsoSyslog)                                                                           \
        syslog(14, "KVN_TRACE Error: %s:%d %s = %u %s", kvnFile_, __LINE__, "id",               \
               (unsigned)kvnCpmCommonTraceInstanceId, kvnMsg_);                                 \
      if (::kvn::log::LogSink::wants(level)) {                                                  \
        char kvnFileAndLine_[256];                                                              \
        snprintf(kvnFileAndLine_, sizeof kvnFileAndLine_, "%s:%d", kvnFile_, __LINE__);         \
        ::kvn::log::LogSink::emit("com_halvorne_kvn_cpm_common_lib", #event, level,             \
                                  kvnFileAndLine_, kvnMsg_);                                    \
      }                                                                                         \
    }                                                                                           \
  } while (0)

#define EQMH_ERROR(...) KVN_EQMH_IMPL_(EqmhErrorEvent, ::kvn::log::Level::Error, true, __VA_ARGS__)
#define EQMH_INFO(...) KVN_EQMH_IMPL_(EqmhInfoEvent, ::kvn::log::Level::Info, false, __VA_ARGS__)
#define EQMH_DEBUG(...) \
  KVN_EQMH_IMPL_(EqmhLineDebugEvent, ::kvn::log::Level::Debug, false, __VA_ARGS__)
