#pragma once

#include "util/mainloop/routine_table_log.h"

// The routine table's log in this service: formats and keeps the text, goes nowhere.
class TraceControllerRoutineTableLog : public kvn::RoutineTableLog {
 public:
  void error(const char* format, ...) override __attribute__((format(printf, 2, 3)));
  void info(const char* format, ...) override __attribute__((format(printf, 2, 3)));
  void debug(const char* format, ...) override __attribute__((format(printf, 2, 3)));

 private:
  char scratch_[256];
};
