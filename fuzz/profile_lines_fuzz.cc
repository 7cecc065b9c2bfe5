// Parses the input, one probe a line, as a profile, and runs the matching on what it holds.

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "tracetables/invalid_probe_exception.h"
#include "tracetables/profile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  std::vector<std::string> lines;
  std::istringstream in(input);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  try {
    kvntrace::Profile profile("fuzz", lines);
    const kvntrace::Profile filtered = profile.filter("bb1/dsp", 1);
    filtered.hasTraceProbe("ulScheduler", "trace1");
    profile.matchesTracePoint(lines.empty() ? "" : lines.front());
    std::ostringstream os;
    os << profile;
    if (!(profile == kvntrace::Profile("fuzz", lines))) __builtin_trap();  // parsing is pure
  } catch (const kvntrace::InvalidProbeException&) {
  }
  return 0;
}
