// The one translation unit that creates the probes of all four providers and defines their
// tracepoints for the program that links this library.
#define LTTNG_UST_TRACEPOINT_CREATE_PROBES
#define LTTNG_UST_TRACEPOINT_DEFINE
#include "tracing/tp_cpm_common_lib.h"
#include "tracing/tp_cpmutil.h"
#include "tracing/tp_lmcreader.h"
#include "tracing/tp_tracectrl.h"
