#include "tracetables/trace_probe.h"

#include "tracetables/invalid_probe_exception.h"
#include "tracetables/probe_fields.h"

namespace kvntrace {

TraceProbe TraceProbe::parse(const std::string& rawProbe) {
  if (probe_fields::countSemicolons(rawProbe) != 2) {
    throw InvalidProbeException("Could not parse to TraceProbe from rawProbe " + rawProbe);
  }
  std::vector<std::string> f = probe_fields::split(rawProbe);
  return TraceProbe(std::move(f[2]), std::move(f[0]), std::move(f[1]));
}

}  // namespace kvntrace
