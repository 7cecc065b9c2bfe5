#include "tracing/log_sink.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kvn::log {

int LogSink::s_threshold = -1;
int LogSink::s_stderrLevel = -1;
LogSink::CaptureFn LogSink::s_capture = nullptr;
void* LogSink::s_captureCtx = nullptr;

namespace {
const char* levelName(Level level) {
  switch (level) {
    case Level::Error:
      return "ERROR";
    case Level::Info:
      return "INFO";
    case Level::Debug:
      return "DEBUG";
  }
  return "?";
}

struct EnvironmentReader {
  EnvironmentReader() { LogSink::configureFromEnvironment(); }
} readEnvironmentAtStartup;
}  // namespace

void LogSink::emit(const char* provider, const char* event, Level level, const char* fileAndLine,
                   const char* msg) {
  if (s_capture != nullptr) s_capture(s_captureCtx, provider, event, level, fileAndLine, msg);
  if (static_cast<int>(level) <= s_stderrLevel) {
    // The message keeps its own trailing newline, if it has one; add none twice.
    size_t len = std::strlen(msg);
    bool nl = len > 0 && msg[len - 1] == '\n';
    std::fprintf(stderr, "%-5s %s %s %s%s", levelName(level), provider, fileAndLine, msg,
                 nl ? "" : "\n");
  }
}

void LogSink::installCapture(CaptureFn fn, void* ctx) {
  s_capture = fn;
  s_captureCtx = ctx;
  recompute();
}

void LogSink::removeCapture() {
  s_capture = nullptr;
  s_captureCtx = nullptr;
  recompute();
}

void LogSink::configureFromEnvironment() {
  const char* v = std::getenv("KVN_LOG_STDERR");
  s_stderrLevel = -1;
  if (v != nullptr && *v != '\0') {
    if (std::strcmp(v, "error") == 0) {
      s_stderrLevel = static_cast<int>(Level::Error);
    } else if (std::strcmp(v, "info") == 0) {
      s_stderrLevel = static_cast<int>(Level::Info);
    } else if (std::strcmp(v, "0") != 0) {
      s_stderrLevel = static_cast<int>(Level::Debug);
    }
  }
  recompute();
}

void LogSink::recompute() {
  s_threshold = s_capture != nullptr ? static_cast<int>(Level::Debug) : s_stderrLevel;
}

}  // namespace kvn::log
