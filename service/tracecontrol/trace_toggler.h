#pragma once
// Carries out the operator's switches of trace objects, utrace points and profiles on one agent,
// and owns what the operator forced by hand. Made at each connect with the agent's number, so
// the forced bits go with the connection.

#include <stdint.h>

#include <functional>
#include <string>
#include <vector>

#include "service/tracecontrol/manual_trace_overrides.h"

namespace kvn {

class TraceToggler {
 public:
  using Done = std::function<void()>;
  // The heading and one "  <name>\n" line for each name this agent does not know.
  using NotApplicable = std::function<void(const std::string& heading, const std::string& text)>;
  using VerboseText = std::function<void(const std::string& text)>;
  // Whether a name failed, and the text to show; empty when every name can be disabled.
  using DisableCheck = std::function<void(bool error, const std::string& text)>;

  explicit TraceToggler(uint16_t bbmHwNumber) : bbmHwNumber_(bbmHwNumber) {}
  virtual ~TraceToggler() = default;

  // Switches `names` (all objects with groups, all utrace points, or profiles) on or off. Ends
  // with exactly one of `done` (possibly at once, possibly after the agent's confirm) and
  // `notApplicable`; never with either when the agent is lost on the way. A name this agent
  // does not know changes nothing here.
  virtual void toggle(const std::vector<std::string>& names, bool enable, Done done,
                      NotApplicable notApplicable, VerboseText verboseText, bool verbose);

  // Before a disable: a profile that is not enabled cannot be disabled.
  void checkDisableable(const std::vector<std::string>& names, const DisableCheck& answer) const;

  // Every name is a utrace point of this agent.
  bool allUtracePoints(const std::vector<std::string>& names) const;
  // Some name is a profile of this agent.
  bool holdsProfile(const std::vector<std::string>& names) const;

  ManualTraceOverrides& overrides() { return overrides_; }
  const ManualTraceOverrides& overrides() const { return overrides_; }
  uint16_t bbmHwNumber() const { return bbmHwNumber_; }

 private:
  bool isApplicable(const std::string& name) const;
  bool isProfile(const std::string& name) const;
  bool isUtracePoint(const std::string& name) const;
  // True when the object step took the names.
  bool toggleObject(const std::vector<std::string>& names, bool enable, Done& done);
  bool toggleUtrace(const std::vector<std::string>& names, bool enable, Done& done);
  std::string probesNotApplicable(const std::vector<std::string>& names) const;

  ManualTraceOverrides overrides_;
  uint16_t bbmHwNumber_;
};

}  // namespace kvn
