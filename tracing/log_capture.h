#pragma once
// Test helper: collects the log lines of the code under test while it is in scope.

#include <string>
#include <string_view>
#include <vector>

#include "tracing/log_sink.h"

namespace kvn::log {

class LogCapture {
 public:
  struct Line {
    std::string provider;
    std::string event;
    Level level;
    std::string fileAndLine;
    std::string msg;
  };

  LogCapture() { LogSink::installCapture(&LogCapture::collect, this); }
  ~LogCapture() { LogSink::removeCapture(); }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  const std::vector<Line>& lines() const { return lines_; }
  void clear() { lines_.clear(); }

  // How many lines carry exactly this message (at the given level, if one is given).
  int count(std::string_view msg) const {
    int n = 0;
    for (const Line& l : lines_) n += l.msg == msg ? 1 : 0;
    return n;
  }
  int count(Level level, std::string_view msg) const {
    int n = 0;
    for (const Line& l : lines_) n += (l.level == level && l.msg == msg) ? 1 : 0;
    return n;
  }
  bool has(std::string_view msg) const { return count(msg) > 0; }
  bool has(Level level, std::string_view msg) const { return count(level, msg) > 0; }

 private:
  static void collect(void* ctx, const char* provider, const char* event, Level level,
                      const char* fileAndLine, const char* msg) {
    static_cast<LogCapture*>(ctx)->lines_.push_back({provider, event, level, fileAndLine, msg});
  }

  std::vector<Line> lines_;
};

}  // namespace kvn::log
