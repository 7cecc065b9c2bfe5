#pragma once
// A container described in JSON, for `lmc-tool pack`:
//
//   { "format_version": 1, "header_bytes": 88,
//     "product_number": "CXP 901 2345/1", "product_revision": "R1A",
//     "modules": [ MODULE, ... ] }
//
// A MODULE has the header fields "identity", "role", "compression" (0 or 1), "gzip" (bool),
// "data_header" ([3 numbers]) and "snid", and exactly one content:
//   "file": path (relative to the description's directory), "text": inline content,
//   "tables": { NAME: [strings] | {"type": N, "strings": [...]}, ... } in the order given,
//   "metadata": { "load_module": NAME, "trace_objects": [{"name", "trace_id"}],
//                 "formats": [...], "utrace": [{"name", "id", "default"}],
//                 "trace_strings": [...] }            (identity defaults to NAME + "_META")
//   "profiles": { NAME: [probe lines], ... } with "flight_recorder": NAME beside it
//                                                     (identity defaults to "bbDiagProfiles")

#include <string>

#include "lmc-tool/lmc_writer.h"

namespace kvn::lmc {

class LmcDescription {
 public:
  // Raise std::runtime_error naming the place in the description that is wrong.
  static LmcWriter load(const std::string& path);
  static LmcWriter parse(const std::string& jsonText, const std::string& baseDir);
};

}  // namespace kvn::lmc
