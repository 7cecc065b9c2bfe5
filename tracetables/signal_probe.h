#pragma once
// "signal:" with "trace point;role;direction;instance": selects signals by name. Parsed, kept
// and compared; nothing acts on them yet.

#include <cstdint>
#include <string>

#include "tracetables/probe.h"

namespace kvntrace {

enum class SignalDirection : int32_t { Incoming = 0, Outgoing = 1, Other = 2 };

class SignalProbe : public Probe {
 public:
  static constexpr const char* kMarker = "signal:";

  SignalProbe(std::string tracePoint, std::string instance, std::string role,
              SignalDirection direction)
      : Probe(std::move(tracePoint), std::move(instance)),
        m_role(std::move(role)),
        m_direction(direction) {}

  // `rawProbe` is the line with its marker cut out. Raises InvalidProbeException unless it
  // has exactly three semicolons. A direction other than "incoming" or "outgoing" is Other.
  static SignalProbe parse(const std::string& rawProbe);

  bool isTraceProbe() const override { return false; }
  const std::string& getRole() const { return m_role; }
  SignalDirection getDirection() const { return m_direction; }

  bool operator==(const SignalProbe& o) const {
    return m_tracePoint == o.m_tracePoint && m_role == o.m_role && m_direction == o.m_direction &&
           m_instance == o.m_instance;
  }
  bool operator!=(const SignalProbe& o) const { return !(*this == o); }

 private:
  std::string m_role;
  SignalDirection m_direction;
};

}  // namespace kvntrace
