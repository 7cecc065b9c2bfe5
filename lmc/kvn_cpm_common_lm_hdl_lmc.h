#pragma once
// A load module container opened read-only: the header is checked (version, length, type,
// CRC) and the modules are walked once at construction. A container that fails to open is
// still a valid object, with the modules accepted before the failure (often none); every
// look-up of a missing module fails. Identities match loosely: blanks do not count, and
// neither does case.

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "lmc/kvn_cpm_common_lm_hdl_lm.h"
#include "lmc/kvn_cpm_common_map_file.h"

class KvnCpmCommon_lmHdlLmc {
 public:
  explicit KvnCpmCommon_lmHdlLmc(const std::string& path);
  virtual ~KvnCpmCommon_lmHdlLmc();

  KvnCpmCommon_lmHdlLmc(const KvnCpmCommon_lmHdlLmc&) = delete;
  KvnCpmCommon_lmHdlLmc& operator=(const KvnCpmCommon_lmHdlLmc&) = delete;

  // The count from the header (0 when the header could not be read).
  uint16_t getNumberOfLms() const { return m_nrOfLms; }

  // 0 when `a` and `b` are equal once blanks are dropped and case is ignored, else -1.
  static int strCaseSpaceCmp(const char* a, const char* b);

  // Replaces `identity` by the key as the file spells it when exactly one key matches.
  bool findIdentity(std::string& identity) const;

  // Null unless findIdentity succeeds.
  KvnCpmCommon_lmHdlLm* getLm(const std::string& identity) const;
  const uint8_t* getLmDataAddr(const std::string& identity) const;

  bool saveToFile(const std::string& identity, const std::string& path, bool gzip);
  bool saveToString(const std::string& identity, std::string& out, bool gzip);

  // True when the header and every module passed their checks.
  bool isOpen() const { return m_open; }
  uint32_t getHeaderLength() const { return m_headerLength; }
  size_t getMappedSize() const { return m_size; }
  // The modules by identity, in key order.
  const std::map<std::string, std::unique_ptr<KvnCpmCommon_lmHdlLm>>& getLms() const {
    return m_lms;
  }

 private:
  bool open();
  bool walkModules();
  KvnCpmCommon_lmHdlLm* lmToSave(const std::string& identity) const;

  std::string m_path;
  std::map<std::string, std::unique_ptr<KvnCpmCommon_lmHdlLm>> m_lms;
  const uint8_t* m_addr_p = nullptr;
  uint16_t m_nrOfLms = 0;
  std::unique_ptr<KvnCpmCommon_mapFile> m_mapFile;
  uint32_t m_headerLength = 0;
  size_t m_size = 0;
  std::map<std::string, const uint8_t*> m_lmDataAddrs;
  bool m_open = false;
};
