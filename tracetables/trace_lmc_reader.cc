#include "tracetables/trace_lmc_reader.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "lmc/kvn_cpm_common_lm_hdl_lmc.h"
#include "tracetables/table_blob_parser.h"
#include "tracing/log.h"

namespace kvntrace {

namespace {

constexpr const char* kMetaSuffix = "_META";

// A decimal trace id as a signed 32-bit value, with the exceptions of std::stol on the target,
// where long has 32 bits.
int32_t toTraceId(const std::string& s) {
  const char* begin = s.c_str();
  char* end = nullptr;
  errno = 0;
  const long v = std::strtol(begin, &end, 10);
  if (end == begin) throw std::invalid_argument("stol");
  if (errno == ERANGE || v < INT32_MIN || v > INT32_MAX) throw std::out_of_range("stol");
  return static_cast<int32_t>(v);
}

bool readable(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY);
  if (fd < 0) return false;
  close(fd);
  return true;
}

}  // namespace

TraceLmcReader::TraceLmcReader(const std::string& lmcPath) : m_lmcPath(lmcPath) {}

TraceLmcReader::~TraceLmcReader() = default;

TraceLmcReader::Hold::Hold(TraceLmcReader& reader) : m_reader(reader) { ++m_reader.m_holds; }

TraceLmcReader::Hold::~Hold() {
  if (--m_reader.m_holds > 0) return;
  m_reader.m_heldName.clear();
  std::string().swap(m_reader.m_heldBlob);
}

const std::vector<std::string>& TraceLmcReader::defaultProfileLines() {
  static const std::vector<std::string> lines = {"*;*;*.check", "*;*;*.error", "*;*;*.info",
                                                 "*;*;*.interface"};
  return lines;
}

bool TraceLmcReader::extractModule(const std::string& name, std::string& out) const {
  KvnCpmCommon_lmHdlLmc lmc(m_lmcPath);
  std::string identity = name;
  return lmc.findIdentity(identity) && lmc.saveToString(identity, out, false);
}

const std::string* TraceLmcReader::loadModuleBlob(const std::string& name, std::string& scratch) {
  if (name == kProfileModule) {
    if (!m_profileBlobTried) {
      m_profileBlobTried = true;
      if (!extractModule(name, m_profileBlob)) m_profileBlob.clear();
    }
    return m_profileBlob.empty() ? nullptr : &m_profileBlob;
  }
  if (m_holds > 0 && !m_heldName.empty() && name == m_heldName) return &m_heldBlob;
  if (!extractModule(name, scratch)) return nullptr;
  if (m_holds == 0) return &scratch;
  m_heldName = name;
  m_heldBlob = std::move(scratch);
  return &m_heldBlob;
}

std::vector<std::string> TraceLmcReader::readTable(const std::string& lmName,
                                                   const std::string& tableName) {
  if (!readable(m_lmcPath)) {
    LMCREADER_LOG_ERROR("LMC path %s is not readable", m_lmcPath.c_str());
    return {};
  }
  if (lmName.empty()) {
    LMCREADER_LOG_ERROR("No load module name was supplied");
    return {};
  }
  std::string scratch;
  const std::string* blob = loadModuleBlob(lmName, scratch);
  if (blob == nullptr) {
    LMCREADER_LOG_INFO("Failed retrieving LM with identity %s in LMC", lmName.c_str());
    return {};
  }
  if (tableName.empty()) return TableBlobParser::listTableNames(*blob);
  return TableBlobParser::extractStringTable(*blob, tableName);
}

std::vector<std::string> TraceLmcReader::readMetadataTable(const std::string& lmName,
                                                           const std::string& tableName) {
  return readTable(lmName + kMetaSuffix, tableName);
}

std::vector<std::string> TraceLmcReader::getTraceObjectNames(const std::string& lmName) {
  return readMetadataTable(lmName, "traceobjname");
}

std::vector<int32_t> TraceLmcReader::getStrIdToTraceId(const std::string& lmName) {
  const std::vector<std::string> strings = readMetadataTable(lmName, "stridtraceid");
  std::vector<int32_t> ids;
  ids.reserve(strings.size());
  try {
    for (const std::string& s : strings) ids.push_back(toTraceId(s));
  } catch (const std::logic_error& e) {
    LMCREADER_LOG_ERROR("Exception '%s' when transforming %d traceId strings to integers", e.what(),
                        static_cast<int>(strings.size()));
  }
  return ids;
}

std::vector<std::string> TraceLmcReader::getTraceFormats(const std::string& lmName) {
  return readMetadataTable(lmName, "traceformat");
}

std::vector<std::string> TraceLmcReader::getUtraceMeta(const std::string& lmName) {
  return readMetadataTable(lmName, "utracemeta");
}

std::vector<std::string> TraceLmcReader::getProfileNames() {
  std::vector<std::string> names = readTable(kProfileModule, "");
  names.emplace_back(kDefaultProfile);
  return names;
}

std::vector<std::string> TraceLmcReader::getProfile(const std::string& name) {
  if (name == kDefaultProfile) return defaultProfileLines();
  return readTable(kProfileModule, name);
}

}  // namespace kvntrace
