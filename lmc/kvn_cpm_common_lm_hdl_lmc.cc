#include "lmc/kvn_cpm_common_lm_hdl_lmc.h"

#include <ctype.h>

#include <cstdlib>
#include <cstring>

#include "base/big_endian.h"
#include "lmc/kvn_cpm_common_crc.h"
#include "tracing/log.h"

using kvn::loadBe16;

namespace {

constexpr uint16_t kLmctValid = 21;
constexpr uint32_t kTrailerSize = 10;  // count, 4 ignored bytes, CRC, 2 bytes outside the CRC
constexpr uint32_t kMinHeaderBytes = 6;
constexpr size_t kProdNrSize = 22;
constexpr size_t kProdRevSize = 8;

bool headerLengthValid(uint16_t fv, uint16_t hlen) {
  const uint32_t bytes = uint32_t{hlen} * 2;
  if (fv == 0) return bytes == 52;
  // 56 plus a positive multiple of 32.
  return bytes > 56 && (((uint32_t{hlen} - 28) * 2) & 0x1E) == 0;
}

}  // namespace

KvnCpmCommon_lmHdlLmc::KvnCpmCommon_lmHdlLmc(const std::string& path) : m_path(path) {
  m_open = open();
  if (!m_open) EQMH_ERROR("Failed to init Lmc class for : %s", path.c_str());
}

KvnCpmCommon_lmHdlLmc::~KvnCpmCommon_lmHdlLmc() {
  // The modules point into the mapping: they go first.
  m_lmDataAddrs.clear();
  m_lms.clear();
  m_mapFile.reset();
}

bool KvnCpmCommon_lmHdlLmc::open() {
  m_mapFile = std::make_unique<KvnCpmCommon_mapFile>(m_path);
  m_addr_p = static_cast<const uint8_t*>(m_mapFile->addr());
  if (m_addr_p == nullptr) return false;
  m_size = m_mapFile->size();
  if (m_size < kMinHeaderBytes) {
    EQMH_ERROR("LMC of %zu bytes is too short for a header", m_size);
    return false;
  }

  const uint16_t fv = loadBe16(m_addr_p);
  const uint16_t hlen = loadBe16(m_addr_p + 2);
  const uint16_t lmct = loadBe16(m_addr_p + 4);
  if (fv != 0 && fv != 1) {
    EQMH_ERROR("Not supported LMC version %d.", fv);
    return false;
  }
  if (!headerLengthValid(fv, hlen)) {
    EQMH_ERROR("HLEN %d invalid", hlen);
    return false;
  }
  if (lmct != kLmctValid) {
    EQMH_ERROR("LMC header LMCT value '%d' not valid.", lmct);
    return false;
  }
  const uint32_t hbytes = uint32_t{hlen} * 2;
  if (hbytes > m_size) {
    EQMH_ERROR("LMC header of %u bytes reaches past the end of the file, %zu bytes", hbytes,
               m_size);
    return false;
  }
  m_headerLength = hbytes;

  const uint8_t* trailer = m_addr_p + hbytes - kTrailerSize;
  m_nrOfLms = loadBe16(trailer);
  if (m_nrOfLms == 0) {
    EQMH_ERROR("No LMs in container");
    return false;
  }
  const uint16_t lmcCrc = loadBe16(trailer + 6);
  const uint16_t crc = KvnCpmCommon_crc::crc16(0, m_addr_p, hbytes - 4);
  if (lmcCrc != crc) {
    EQMH_ERROR("LMC header CRC incorrect, lmc_crc 0x%x, crc 0x%x", lmcCrc, crc);
    return false;
  }

  // The product texts serve the debug log only.
  const size_t copyLen = hbytes - kMinHeaderBytes;
  char* lmcHeader = static_cast<char*>(calloc(copyLen + 1, 1));
  if (lmcHeader == nullptr) {
    EQMH_ERROR("calloc failed for lmcHeader");
    return false;
  }
  std::memcpy(lmcHeader, m_addr_p + kMinHeaderBytes, copyLen);
  char prodNr[kProdNrSize + 1] = {};
  char prodRev[kProdRevSize + 1] = {};
  std::memcpy(prodNr, lmcHeader, kProdNrSize);
  std::memcpy(prodRev, lmcHeader + kProdNrSize, kProdRevSize);
  free(lmcHeader);
  EQMH_DEBUG("LMC %s version %d HLEN %d prod_nr %s prod_rev %s LMs %u", m_path.c_str(), fv, hlen,
             prodNr, prodRev, m_nrOfLms);

  return walkModules();
}

bool KvnCpmCommon_lmHdlLmc::walkModules() {
  size_t offset = m_headerLength;
  for (uint32_t i = 0; i < m_nrOfLms; ++i) {
    auto lm = std::make_unique<KvnCpmCommon_lmHdlLm>();
    if (!lm->init(m_addr_p + offset, m_size - offset)) return false;
    const std::string identity = lm->getIdentity();
    const uint64_t lmSize = lm->getSize();
    m_lmDataAddrs[identity] = m_addr_p + offset + KvnCpmCommon_lmHeader::kSize;
    m_lms[identity] = std::move(lm);
    offset += lmSize;  // init() keeps the module inside the mapping
  }
  return true;
}

int KvnCpmCommon_lmHdlLmc::strCaseSpaceCmp(const char* a, const char* b) {
  const size_t lenA = std::strlen(a);
  const size_t lenB = std::strlen(b);
  char* bufA = static_cast<char*>(calloc(lenA + 1, 1));
  char* bufB = static_cast<char*>(calloc(lenB + 1, 1));
  if (bufA == nullptr || bufB == nullptr) {
    // Taken for equal, as the search that asks has no better answer.
    EQMH_ERROR("calloc failed for strCaseSpaceCmp");
    free(bufA);
    free(bufB);
    return 0;
  }
  size_t na = 0;
  size_t nb = 0;
  for (size_t i = 0; i < lenA; ++i) {
    if (a[i] != ' ') bufA[na++] = a[i];
  }
  for (size_t i = 0; i < lenB; ++i) {
    if (b[i] != ' ') bufB[nb++] = b[i];
  }
  int result = 0;
  if (na != nb) {
    result = -1;
  } else if (std::memcmp(bufA, bufB, na) != 0) {
    for (size_t i = 0; i < na; ++i) {
      if (toupper(static_cast<unsigned char>(bufA[i])) !=
          toupper(static_cast<unsigned char>(bufB[i]))) {
        result = -1;
        break;
      }
    }
  }
  free(bufA);
  free(bufB);
  return result;
}

bool KvnCpmCommon_lmHdlLmc::findIdentity(std::string& identity) const {
  bool found = false;
  const std::string wanted = identity;
  for (const auto& entry : m_lms) {
    if (strCaseSpaceCmp(entry.first.c_str(), wanted.c_str()) != 0) continue;
    identity = entry.first;
    if (found) {
      EQMH_ERROR("More than one valid LM identity for %s", identity.c_str());
      return false;
    }
    found = true;
  }
  return found;
}

KvnCpmCommon_lmHdlLm* KvnCpmCommon_lmHdlLmc::getLm(const std::string& identity) const {
  std::string key = identity;
  if (!findIdentity(key)) return nullptr;
  return m_lms.at(key).get();
}

const uint8_t* KvnCpmCommon_lmHdlLmc::getLmDataAddr(const std::string& identity) const {
  std::string key = identity;
  if (!findIdentity(key)) return nullptr;
  return m_lmDataAddrs.at(key);
}

KvnCpmCommon_lmHdlLm* KvnCpmCommon_lmHdlLmc::lmToSave(const std::string& identity) const {
  KvnCpmCommon_lmHdlLm* lm = getLm(identity);
  if (lm == nullptr) {
    EQMH_INFO("LM Identity '%s' not found", identity.c_str());
  } else if (lm->getIdentity() == identity) {
    EQMH_INFO("LM Identity to save '%s' found", identity.c_str());
  } else {
    EQMH_INFO("LM Identity to save '%s' found, similar to '%s'", lm->getIdentity().c_str(),
              identity.c_str());
  }
  return lm;
}

bool KvnCpmCommon_lmHdlLmc::saveToFile(const std::string& identity, const std::string& path,
                                       bool gzip) {
  KvnCpmCommon_lmHdlLm* lm = lmToSave(identity);
  return lm != nullptr && lm->saveToFile(path, gzip);
}

bool KvnCpmCommon_lmHdlLmc::saveToString(const std::string& identity, std::string& out, bool gzip) {
  KvnCpmCommon_lmHdlLm* lm = lmToSave(identity);
  return lm != nullptr && lm->saveToString(out, gzip);
}
