#include "service/datapath/recorder_time.h"

#include <stdio.h>
#include <string.h>
#include <time.h>

#include <limits>
#include <map>
#include <stdexcept>

#include "util/argparse/argparse_errors.h"

namespace kvn {

int64_t parseDuration(const std::string& text) {
  static const std::map<std::string, int64_t> kUnits = {{"us", 1}, {"ms", 1000}, {"s", 1000000}};
  const size_t unitPos = text.find_first_not_of("0123456789");
  if (unitPos == std::string::npos) throw argparse::ArgumentError("Missing duration unit");
  const auto unit = kUnits.find(text.substr(unitPos));
  if (unit == kUnits.end()) throw argparse::ArgumentError("Invalid duration unit");
  // The number is read as a 32-bit unsigned long, the width it has on the agents' boards.
  const unsigned long number = std::stoul(text.substr(0, unitPos), nullptr, 10);
  if (number > std::numeric_limits<uint32_t>::max()) throw std::out_of_range("stoul");
  return static_cast<int64_t>(number) * unit->second;
}

int64_t parseTimestamp(const std::string& text) {
  const size_t dot = text.rfind('.');
  if (dot == std::string::npos)
    throw argparse::ArgumentError(std::string("Missing microseconds separator '") + "." + "' in " +
                                  text);
  const std::string dateTime = text.substr(0, dot);
  const std::string micros = text.substr(dot + 1);
  if (micros.size() != 6)
    throw argparse::ArgumentError("Exactly six digits are expected for microseconds statement");
  if (micros.find_first_not_of("0123456789") != std::string::npos)
    throw std::invalid_argument("Non-digits in expected number");
  const int64_t microseconds = std::stol(micros, nullptr, 10);

  struct tm tm;
  memset(&tm, 0, sizeof tm);
  const char* end = strptime(dateTime.c_str(), "%Y-%m-%d %H:%M:%S", &tm);
  if (end == nullptr || *end != '\0') throw argparse::ArgumentError("Invalid timestamp");
  // The time as typed is UTC.
  const int64_t seconds = static_cast<int64_t>(timegm(&tm));
  return seconds * 1000000 + microseconds;
}

std::string formatTimestamp(int64_t timePoint) {
  const time_t seconds = static_cast<time_t>(timePoint / 1000000);
  const long microseconds = static_cast<long>(timePoint % 1000000);
  struct tm tm;
  memset(&tm, 0, sizeof tm);
  gmtime_r(&seconds, &tm);
  char text[1024];
  strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &tm);
  char micros[32];
  snprintf(micros, sizeof micros, "%06ld", microseconds);
  return std::string(text) + "." + micros;
}

}  // namespace kvn
