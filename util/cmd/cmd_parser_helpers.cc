#include "util/cmd/cmd_parser_helpers.h"

#include <cctype>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <stdexcept>

#include "util/argparse/argparse_errors.h"

namespace kvn {

uint32_t parseUnsigned(const std::string& text) {
  size_t used = 0;
  unsigned long long value = 0;
  if (!text.empty()) {
    char* end = nullptr;
    errno = 0;
    value = std::strtoull(text.c_str(), &end, 0);
    // An overflow is a failed conversion: nothing counts as used.
    if (end != text.c_str() && errno != ERANGE && value <= std::numeric_limits<uint32_t>::max())
      used = static_cast<size_t>(end - text.c_str());
  }
  if (text.empty() || used != text.size() || text[0] == '-')
    throw std::invalid_argument("Invalid number format");
  return static_cast<uint32_t>(value);
}

uint64_t parseNumberInRange(const std::string& text, const std::string& argName, int64_t min,
                            int64_t max) {
  char* end = nullptr;
  errno = 0;
  const unsigned long long value = std::strtoull(text.c_str(), &end, 0);
  const bool outOfRange = errno == ERANGE;
  const size_t used = static_cast<size_t>(end - text.c_str());
  if (used == 0 || used != text.size())
    throw std::invalid_argument(argName + " " + text + " is not a number");
  const int64_t asSigned = static_cast<int64_t>(value);
  if (outOfRange || asSigned < min || asSigned > max) {
    char range[64];
    std::snprintf(range, sizeof range, "[%lld, %lld]", static_cast<long long>(min),
                  static_cast<long long>(max));
    throw std::invalid_argument(argName + " " + text + " is not in range " + range);
  }
  return value;
}

std::array<uint8_t, 6> parseMac(const std::string& text, const std::string& argName) {
  std::string digits;
  for (const char c : text)
    if (c != ':') digits += c;
  bool valid = digits.size() == 12;
  for (size_t i = 0; valid && i < digits.size(); ++i)
    valid = std::isxdigit(static_cast<unsigned char>(digits[i])) != 0;
  if (!valid) throw std::invalid_argument(argName + " " + text + " is not a valid mac address");

  std::array<uint8_t, 6> mac{};
  for (size_t i = 0; i < mac.size(); ++i)
    mac[i] = static_cast<uint8_t>(std::stoul(digits.substr(2 * i, 2), nullptr, 16));
  return mac;
}

std::pair<std::string, std::string> splitArgument(const std::string& text,
                                                  const std::string& separator) {
  const size_t pos = text.find(separator);
  if (pos == std::string::npos) throw argparse::ArgumentError("Missing separator in argument");
  return {text.substr(0, pos), text.substr(pos + 1)};
}

}  // namespace kvn
