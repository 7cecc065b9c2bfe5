#pragma once
// "instance;role;trace point": selects the groups of trace objects whose "object.group" the
// trace point pattern matches, on matching instances and roles.

#include <string>

#include "tracetables/probe.h"

namespace kvntrace {

class TraceProbe : public Probe {
 public:
  TraceProbe(std::string tracePoint, std::string instance, std::string role)
      : Probe(std::move(tracePoint), std::move(instance)), m_role(std::move(role)) {}

  // Raises InvalidProbeException unless the line has exactly two semicolons.
  static TraceProbe parse(const std::string& rawProbe);

  bool isTraceProbe() const override { return true; }
  const std::string& getRole() const { return m_role; }

  bool operator==(const TraceProbe& o) const {
    return m_tracePoint == o.m_tracePoint && m_role == o.m_role && m_instance == o.m_instance;
  }
  bool operator!=(const TraceProbe& o) const { return !(*this == o); }

 private:
  std::string m_role;
};

}  // namespace kvntrace
