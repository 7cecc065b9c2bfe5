#pragma once
// Splitting of a profile line into its semicolon-separated fields.

#include <algorithm>
#include <string>
#include <vector>

namespace kvntrace::probe_fields {

inline size_t countSemicolons(const std::string& line) {
  return static_cast<size_t>(std::count(line.begin(), line.end(), ';'));
}

// The fields left to right; the last is the rest of the line.
inline std::vector<std::string> split(const std::string& line) {
  std::vector<std::string> fields;
  size_t start = 0;
  for (size_t semi = line.find(';'); semi != std::string::npos; semi = line.find(';', start)) {
    fields.push_back(line.substr(start, semi - start));
    start = semi + 1;
  }
  fields.push_back(line.substr(start));
  return fields;
}

}  // namespace kvntrace::probe_fields
