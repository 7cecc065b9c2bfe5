#pragma once
// The lines of every profile in a container, read once. The reserved entry ".flight_recorder"
// names the profile used for flight recording; its lines are that profile's.

#include <map>
#include <string>
#include <vector>

#include "tracetables/trace_lmc_reader_interface.h"

namespace kvntrace {

class ProfileLmcReader {
 public:
  static constexpr const char* kFlightRecorder = ".flight_recorder";

  explicit ProfileLmcReader(TraceLmcReaderInterface& reader);
  virtual ~ProfileLmcReader();

  // Raises std::out_of_range ("map::at") for an unknown name, also for a ".flight_recorder"
  // that names one.
  virtual std::vector<std::string> getProfileLines(const std::string& name);
  // All names, ".flight_recorder" among them.
  virtual std::vector<std::string> getProfileNames();
  virtual std::string getFlightRecorderName();

 private:
  std::map<std::string, std::vector<std::string>> m_profiles;
  std::string m_flightRecorderName;
};

}  // namespace kvntrace
