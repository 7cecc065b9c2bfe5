#pragma once
// A routine table log that says nothing: the tests look at what the table does instead.

#include "util/routine_table_log.h"

namespace kvn::testing {

class NullLog : public RoutineTableLog {
 public:
  void error(const char*, ...) override {}
  void info(const char*, ...) override {}
  void debug(const char*, ...) override {}
};

}  // namespace kvn::testing
