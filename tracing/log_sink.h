#pragma once

#include <cstdint>

namespace kvn::log {

enum class Level : int { Error = 0, Info = 1, Debug = 2 };

// Where log lines go besides their tracepoints. An operator without an LTTng session sets
// KVN_LOG_STDERR=error|info|debug (or 1 for debug) to see the lines on standard error; tests
// install a capture to read what a component logged. With neither, a log call whose
// tracepoint is disabled costs one load and one compare.
class LogSink {
 public:
  using CaptureFn = void (*)(void* ctx, const char* provider, const char* event, Level level,
                             const char* fileAndLine, const char* msg);

  static bool wants(Level level) { return static_cast<int>(level) <= s_threshold; }

  static void emit(const char* provider, const char* event, Level level, const char* fileAndLine,
                   const char* msg);

  // One capture at a time; it sees every level.
  static void installCapture(CaptureFn fn, void* ctx);
  static void removeCapture();

  // Re-reads KVN_LOG_STDERR; done once at start-up by a static initializer.
  static void configureFromEnvironment();

 private:
  static void recompute();

  static int s_threshold;  // highest level that any sink wants, -1 for none
  static int s_stderrLevel;
  static CaptureFn s_capture;
  static void* s_captureCtx;
};

}  // namespace kvn::log
