#include "tracetables/profile_provider.h"

#include <fcntl.h>
#include <unistd.h>

#include <memory>

#include "tracetables/bad_lmc_exception.h"
#include "tracetables/bad_profile_exception.h"
#include "tracetables/profile_lmc_reader.h"
#include "tracetables/trace_lmc_reader.h"

namespace kvntrace {

ProfileProvider::ProfileProvider(std::string lmcPath) : m_lmcPath(std::move(lmcPath)) {}

ProfileProvider::~ProfileProvider() = default;

void ProfileProvider::populate() {
  const int fd = open(m_lmcPath.c_str(), O_RDONLY);
  if (fd < 0) throw BadLmcException(m_lmcPath);
  close(fd);

  std::unique_ptr<ProfileLmcReader> lines;
  {
    TraceLmcReader reader(m_lmcPath);
    lines = std::make_unique<ProfileLmcReader>(reader);
  }
  for (const std::string& name : lines->getProfileNames()) {
    std::vector<std::string> profileLines = lines->getProfileLines(name);
    if (name == ProfileLmcReader::kFlightRecorder) {
      m_flightRecorderName = lines->getFlightRecorderName();
    }
    m_profiles.emplace(name, Profile(name, profileLines));
  }
}

Profile ProfileProvider::getProfile(const std::string& name) const {
  auto it = m_profiles.find(name);
  if (it == m_profiles.end()) throw BadProfileException(name);
  return it->second;
}

std::vector<std::string> ProfileProvider::getProfileNames() const {
  std::vector<std::string> names;
  names.reserve(m_profiles.size());
  for (const auto& entry : m_profiles) {
    if (entry.first != ProfileLmcReader::kFlightRecorder) names.push_back(entry.first);
  }
  return names;
}

Profile ProfileProvider::getFlightRecorderProfile() const {
  if (m_flightRecorderName.empty()) return Profile();
  return getProfile(m_flightRecorderName);
}

}  // namespace kvntrace
