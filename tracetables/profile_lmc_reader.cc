#include "tracetables/profile_lmc_reader.h"

namespace kvntrace {

ProfileLmcReader::ProfileLmcReader(TraceLmcReaderInterface& reader) {
  for (const std::string& name : reader.getProfileNames()) {
    std::vector<std::string> lines = reader.getProfile(name);
    if (name == kFlightRecorder && !lines.empty()) m_flightRecorderName = lines.front();
    m_profiles.emplace(name, std::move(lines));
  }
}

ProfileLmcReader::~ProfileLmcReader() = default;

std::vector<std::string> ProfileLmcReader::getProfileLines(const std::string& name) {
  if (name == kFlightRecorder) return m_profiles.at(m_flightRecorderName);
  return m_profiles.at(name);
}

std::vector<std::string> ProfileLmcReader::getProfileNames() {
  std::vector<std::string> names;
  names.reserve(m_profiles.size());
  for (const auto& entry : m_profiles) names.push_back(entry.first);
  return names;
}

std::string ProfileLmcReader::getFlightRecorderName() { return m_flightRecorderName; }

}  // namespace kvntrace
