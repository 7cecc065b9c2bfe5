#include "service/trace_controller_context.h"

TraceControllerContext& TraceControllerContext::get() {
  static TraceControllerContext context;
  return context;
}
