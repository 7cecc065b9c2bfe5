#include "sim/journal.h"

#include <errno.h>
#include <string.h>

#include <stdexcept>

#include <nlohmann/json.hpp>

namespace kvn::sim {

Journal::Journal() : out_(stdout), owned_(false) {}

Journal::Journal(const std::string& path) : out_(fopen(path.c_str(), "a")), owned_(true) {
  if (!out_) throw std::runtime_error("cannot open journal " + path + ": " + strerror(errno));
}

Journal::~Journal() {
  if (owned_) fclose(out_);
}

void Journal::write(const nlohmann::json& entry) {
  // Bytes that are not UTF-8 (a name field from the wire) are replaced rather than thrown on.
  const std::string line = entry.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  fprintf(out_, "%s\n", line.c_str());
  fflush(out_);
}

void Journal::event(const char* name) { write({{"event", name}}); }

std::string Journal::hex(const void* data, size_t size) {
  static const char digits[] = "0123456789abcdef";
  const uint8_t* p = static_cast<const uint8_t*>(data);
  std::string s(2 * size, '0');
  for (size_t i = 0; i < size; ++i) {
    s[2 * i] = digits[p[i] >> 4];
    s[2 * i + 1] = digits[p[i] & 0xF];
  }
  return s;
}

}  // namespace kvn::sim
