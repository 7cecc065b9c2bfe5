#include "tracetables/profile.h"

#include <fnmatch.h>

#include <algorithm>
#include <cstring>
#include <iomanip>

namespace kvntrace {

namespace {

template <typename P>
void sortByTracePoint(std::vector<P>& probes) {
  std::sort(probes.begin(), probes.end(), [](const P& a, const P& b) {
    return std::strcmp(a.getTracePoint().c_str(), b.getTracePoint().c_str()) < 0;
  });
}

}  // namespace

Profile::Profile(std::string name, const std::vector<std::string>& lines)
    : m_name(std::move(name)) {
  const std::string marker = SignalProbe::kMarker;
  for (const std::string& line : lines) {
    const size_t at = line.find(marker);
    if (at != std::string::npos) {
      std::string rest = line;
      rest.erase(at, marker.size());
      m_signalProbes.push_back(SignalProbe::parse(rest));
    } else {
      m_traceProbes.push_back(TraceProbe::parse(line));
    }
  }
  sortByTracePoint(m_signalProbes);
  sortByTracePoint(m_traceProbes);
}

bool Profile::hasTraceProbe(const std::string& object, const std::string& group) const {
  return matchesTracePoint(object + "." + group);
}

bool Profile::matchesTracePoint(const std::string& text) const {
  for (const TraceProbe& p : m_traceProbes) {
    if (fnmatch(p.getTracePoint().c_str(), text.c_str(), 0) == 0) return true;
  }
  return false;
}

Profile Profile::filter(const std::string& instance, int role) const {
  const std::string roleText = std::to_string(role);
  Profile out;
  for (const TraceProbe& p : m_traceProbes) {
    if (fnmatch(p.getInstance().c_str(), instance.c_str(), 0) == 0 &&
        fnmatch(p.getRole().c_str(), roleText.c_str(), 0) == 0) {
      out.m_traceProbes.push_back(p);
    }
  }
  return out;
}

std::ostream& operator<<(std::ostream& os, const Profile& profile) {
  os << std::left << std::setw(20) << "Instance" << std::setw(20) << "Role"
     << "Trace point or profile"
     << "\n";
  for (const TraceProbe& p : profile.getTraceProbes()) {
    os << std::setw(20) << p.getInstance() << std::setw(20) << p.getRole() << p.getTracePoint()
       << "\n";
  }
  return os;
}

}  // namespace kvntrace
