#include "tracetables/signal_probe.h"

#include "tracetables/invalid_probe_exception.h"
#include "tracetables/probe_fields.h"

namespace kvntrace {

SignalProbe SignalProbe::parse(const std::string& rawProbe) {
  const size_t count = probe_fields::countSemicolons(rawProbe);
  if (count != 3) {
    throw InvalidProbeException("Could not parse to SignalProbe from rawProbe " + rawProbe +
                                ". Expected " + std::to_string(3) + " semicolons, found " +
                                std::to_string(count));
  }
  std::vector<std::string> f = probe_fields::split(rawProbe);
  SignalDirection direction = SignalDirection::Other;
  if (f[2] == "incoming") {
    direction = SignalDirection::Incoming;
  } else if (f[2] == "outgoing") {
    direction = SignalDirection::Outgoing;
  }
  return SignalProbe(std::move(f[0]), std::move(f[3]), std::move(f[1]), direction);
}

}  // namespace kvntrace
