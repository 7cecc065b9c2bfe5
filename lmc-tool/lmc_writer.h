#pragma once
// Builds load module containers: a header of format version 0 or 1 followed by the modules
// back to back, each with its 104-byte header and its data stored plainly or deflated.
// The service never writes containers; integrators, tests and the agent simulator do.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "lmc-tool/lm_definition.h"

namespace kvn::lmc {

class LmcWriter {
 public:
  struct Header {
    uint16_t formatVersion = 1;   // 0 or 1
    uint32_t headerBytes = 0;     // 0: 52 for version 0, 88 for version 1
    std::string productNumber;    // at most 22 bytes
    std::string productRevision;  // at most 8 bytes
    // Faults, for tests.
    std::optional<uint16_t> lmct;
    std::optional<uint16_t> lmCount;
    bool badCrc = false;
  };

  static constexpr uint32_t kModuleHeaderBytes = 104;

  LmcWriter() = default;
  explicit LmcWriter(Header header) : m_header(std::move(header)) {}

  Header& header() { return m_header; }
  const std::vector<LmDefinition>& modules() const { return m_modules; }

  // Raises std::invalid_argument when a text does not fit its field.
  void addModule(LmDefinition def);

  // The whole container. Raises std::invalid_argument on a header that cannot be written
  // (unknown version, wrong header length, too many modules).
  std::string build() const;

  // Writes the container to a temporary file beside `path` and renames it into place, so a
  // reader never sees half a container. Raises std::runtime_error.
  void writeFile(const std::string& path) const;

  // The DCL * 2 bytes of a module as stored (before padding to an even length).
  static std::string encodeData(const LmDefinition& def);
  // A complete deflate stream of `in`, with gzip or zlib framing.
  static std::string deflateStream(const std::string& in, bool gzip);

 private:
  Header m_header;
  std::vector<LmDefinition> m_modules;
};

}  // namespace kvn::lmc
