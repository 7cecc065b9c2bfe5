#pragma once
// The simulator's record of what reached it: one JSON object a line, each line flushed at once
// so that a test reading the file sees every message as soon as it has been handled.

#include <stdio.h>

#include <string>

#include <nlohmann/json_fwd.hpp>

namespace kvn::sim {

class Journal {
 public:
  // Writes to standard output.
  Journal();
  // Appends to the file at `path`; throws std::runtime_error when it cannot be opened.
  explicit Journal(const std::string& path);
  ~Journal();
  Journal(const Journal&) = delete;
  Journal& operator=(const Journal&) = delete;

  void write(const nlohmann::json& entry);
  // A line that only says what happened: {"event": name}.
  void event(const char* name);

  // Lower-case hex of a byte range, two digits a byte, no separators.
  static std::string hex(const void* data, size_t size);

 private:
  FILE* out_;
  bool owned_;
};

}  // namespace kvn::sim
