#pragma once
// Text-to-value helpers for the `parse` operations of the commands. Numbers follow the C rule
// for base 0: "0x" is hexadecimal, a leading "0" octal.

#include <array>
#include <cstdint>
#include <string>
#include <utility>

namespace kvn {

// A whole text as an unsigned 32-bit number; std::invalid_argument "Invalid number format" for
// an empty, negative, partly numeric or too large text.
uint32_t parseUnsigned(const std::string& text);

// A whole text as a number within [min, max]; std::invalid_argument naming `argName` otherwise.
uint64_t parseNumberInRange(const std::string& text, const std::string& argName, int64_t min,
                            int64_t max);

// Twelve hexadecimal digits with any spread of colons, first pair first;
// std::invalid_argument naming `argName` otherwise.
std::array<uint8_t, 6> parseMac(const std::string& text, const std::string& argName);

// The parts before and after the first `separator` (one character long);
// kvn::argparse::ArgumentError "Missing separator in argument" when there is none.
std::pair<std::string, std::string> splitArgument(const std::string& text,
                                                  const std::string& separator);

}  // namespace kvn
