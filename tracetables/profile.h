#pragma once
// A named set of probes, parsed from the lines of a profile table. A value type.

#include <ostream>
#include <string>
#include <vector>

#include "tracetables/signal_probe.h"
#include "tracetables/trace_probe.h"

namespace kvntrace {

class Profile {
 public:
  Profile() = default;
  // Raises InvalidProbeException at the first bad line.
  Profile(std::string name, const std::vector<std::string>& lines);

  const std::string& getName() const { return m_name; }
  const std::vector<SignalProbe>& getSignalProbes() const { return m_signalProbes; }
  const std::vector<TraceProbe>& getTraceProbes() const { return m_traceProbes; }

  // Whether a trace probe's pattern matches "object.group". Only the trace point is looked
  // at: the profile has been filtered for the agent before.
  bool hasTraceProbe(const std::string& object, const std::string& group) const;
  bool matchesTracePoint(const std::string& text) const;

  // The trace probes that hold for this instance and role, in a profile without a name.
  Profile filter(const std::string& instance, int role) const;

  bool operator==(const Profile& o) const {
    return m_signalProbes == o.m_signalProbes && m_traceProbes == o.m_traceProbes &&
           m_name == o.m_name;
  }
  bool operator!=(const Profile& o) const { return !(*this == o); }

 private:
  std::string m_name;
  std::vector<SignalProbe> m_signalProbes;
  std::vector<TraceProbe> m_traceProbes;
};

// The trace probes as a table of instance, role and trace point; signal probes are left out.
std::ostream& operator<<(std::ostream& os, const Profile& profile);

}  // namespace kvntrace
