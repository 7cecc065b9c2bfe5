#include "service/trace_controller_routine_table_log.h"

#include <cstdarg>
#include <cstdio>

void TraceControllerRoutineTableLog::error(const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::vsnprintf(scratch_, sizeof scratch_, format, args);
  va_end(args);
}

void TraceControllerRoutineTableLog::info(const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::vsnprintf(scratch_, sizeof scratch_, format, args);
  va_end(args);
}

void TraceControllerRoutineTableLog::debug(const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::vsnprintf(scratch_, sizeof scratch_, format, args);
  va_end(args);
}
