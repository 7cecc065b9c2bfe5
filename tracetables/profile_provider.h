#pragma once
// The profiles of one agent's container, by name. Filled once by populate() when the agent
// connects, read-only afterwards.

#include <map>
#include <string>
#include <vector>

#include "tracetables/profile.h"

namespace kvntrace {

class ProfileProvider {
 public:
  // Only keeps the path; populate() reads the container.
  explicit ProfileProvider(std::string lmcPath);
  virtual ~ProfileProvider();

  // The profile that ".flight_recorder" names, or an empty profile when there is none.
  virtual Profile getFlightRecorderProfile() const;
  // The names in order, without ".flight_recorder"; "DefaultProfile" is always among them.
  virtual std::vector<std::string> getProfileNames() const;
  // Raises BadProfileException for a name it does not hold.
  virtual Profile getProfile(const std::string& name) const;

  // Raises BadLmcException when the path cannot be read, InvalidProbeException at a bad
  // line (the profiles before it stay) and std::out_of_range when ".flight_recorder" names a
  // profile that is not there.
  void populate();

  const std::string& getLmcPath() const { return m_lmcPath; }

 private:
  std::string m_lmcPath;
  std::map<std::string, Profile> m_profiles;
  std::string m_flightRecorderName;
};

}  // namespace kvntrace
