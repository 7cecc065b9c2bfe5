#include "tracetables/trace_string_formatter.h"

#include <stdio.h>
#include <string.h>

namespace kvn {

namespace {

// What may stand between '%' and the conversion character, in any order; the strict form is
// checked afterwards.
constexpr const char* kSpecChars = "-+ #0'123456789.*$hlLqjztI";

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// The parts of one conversion, when it has the form flags, width, precision, length.
struct Conversion {
  std::string length;
  long width = 0;
  long precision = 0;
  char conversion = 0;
};

// Reads digits into `value`, saturating above `limit`.
void readNumber(const std::string& s, size_t& i, long& value, long limit) {
  value = 0;
  while (i < s.size() && isDigit(s[i])) {
    if (value <= limit) value = value * 10 + (s[i] - '0');
    ++i;
  }
}

// Parses `conv` ("%...c"); false when it does not have the strict form of one conversion.
bool parse(const std::string& conv, Conversion& c) {
  size_t i = 1;
  while (i < conv.size() && strchr("-+ #0'", conv[i]) != nullptr) ++i;
  readNumber(conv, i, c.width, TraceStringFormatter::kMaxField);
  if (i < conv.size() && conv[i] == '.') {
    ++i;
    readNumber(conv, i, c.precision, TraceStringFormatter::kMaxField);
  }
  const size_t lengthStart = i;
  while (i < conv.size() && strchr("hlLqjzt", conv[i]) != nullptr) ++i;
  c.length = conv.substr(lengthStart, i - lengthStart);
  c.conversion = conv.back();
  return i == conv.size() - 1;
}

bool isSafe(const Conversion& c) {
  if (c.width > TraceStringFormatter::kMaxField || c.precision > TraceStringFormatter::kMaxField)
    return false;
  if (strchr("diuoxX", c.conversion) != nullptr)
    return c.length.empty() || c.length == "h" || c.length == "hh" || c.length == "l";
  return c.conversion == 'c' && c.length.empty();
}

// One safe conversion of one 32-bit value, with the argument type printf expects for it.
void appendConverted(std::string& out, const std::string& conv, const Conversion& c,
                     uint32_t value) {
  char buf[2 * TraceStringFormatter::kMaxField + 64];
  int n;
  const bool isLong = c.length == "l";
  if (c.conversion == 'd' || c.conversion == 'i') {
    const int32_t v = static_cast<int32_t>(value);
    n = isLong ? snprintf(buf, sizeof buf, conv.c_str(), static_cast<long>(v))
               : snprintf(buf, sizeof buf, conv.c_str(), static_cast<int>(v));
  } else if (c.conversion == 'c') {
    n = snprintf(buf, sizeof buf, conv.c_str(), static_cast<int>(value));
  } else {
    n = isLong ? snprintf(buf, sizeof buf, conv.c_str(), static_cast<unsigned long>(value))
               : snprintf(buf, sizeof buf, conv.c_str(), static_cast<unsigned>(value));
  }
  if (n < 0) {
    out += conv;
    return;
  }
  out.append(buf, static_cast<size_t>(n) < sizeof buf ? static_cast<size_t>(n) : sizeof buf - 1);
}

}  // namespace

std::string TraceStringFormatter::format(const std::string& format, uint32_t arg1, uint32_t arg2,
                                         uint32_t arg3) {
  const uint32_t args[kArgs] = {arg1, arg2, arg3};
  std::string out;
  out.reserve(format.size() + 30);
  int next = 0;
  size_t i = 0;
  while (i < format.size()) {
    const size_t percent = format.find('%', i);
    if (percent == std::string::npos) {
      out.append(format, i, std::string::npos);
      break;
    }
    out.append(format, i, percent - i);
    if (percent + 1 < format.size() && format[percent + 1] == '%') {
      out += '%';
      i = percent + 2;
      continue;
    }
    size_t end = percent + 1;
    while (end < format.size() && strchr(kSpecChars, format[end]) != nullptr) ++end;
    if (end == format.size()) {  // unfinished: no conversion character
      out.append(format, percent, std::string::npos);
      break;
    }
    const std::string conv = format.substr(percent, end + 1 - percent);
    i = end + 1;
    Conversion c;
    const int arg = next++;
    if (arg < kArgs && parse(conv, c) && isSafe(c))
      appendConverted(out, conv, c, args[arg]);
    else
      out += conv;
  }
  return out;
}

}  // namespace kvn
