#pragma once
// The time texts of the recorder: `--duration` ("42us", "3ms", "1s"), `--time`
// ("2016-11-15 13:14:46.123456", always UTC) and the start time column of the status table.
// Times are signed microseconds, from 1970-01-01 00:00:00 UTC for a time point; -1 means that
// none was given.

#include <stdint.h>

#include <string>

namespace kvn {

// Digits and a unit, "us", "ms" or "s". Throws `argparse::ArgumentError` for a missing or
// unknown unit, and what `stoul` throws for a missing or too large (32 bits) number.
int64_t parseDuration(const std::string& text);

// "YYYY-MM-DD HH:MM:SS.uuuuuu", taken as UTC whatever the local zone. Throws
// `argparse::ArgumentError`, or `std::invalid_argument` for non-digits in the microseconds.
int64_t parseTimestamp(const std::string& text);

// The same form, in UTC.
std::string formatTimestamp(int64_t timePoint);

}  // namespace kvn
