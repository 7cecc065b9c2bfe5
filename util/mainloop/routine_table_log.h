#pragma once

namespace kvn {

// Where a routine table may report; printf-like.
class RoutineTableLog {
 public:
  virtual ~RoutineTableLog() = default;
  virtual void error(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
  virtual void info(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
  virtual void debug(const char* format, ...) __attribute__((format(printf, 2, 3))) = 0;
};

}  // namespace kvn
