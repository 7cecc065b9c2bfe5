#include "lmc/kvn_cpm_common_lm_hdl_lm.h"

#include <errno.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <zlib.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <vector>

#include "base/big_endian.h"
#include "lmc/kvn_cpm_common_crc.h"
#include "lmc/kvn_cpm_common_map_file.h"
#include "tracing/log.h"

using kvn::loadBe16;
using kvn::loadBe32;

namespace {
constexpr size_t kChunk = 32768;

// Output of many megabytes lands in fresh memory; on kernels that offer them, huge pages
// spare most of the page faults. Only advice: nothing changes where it is not taken.
void adviseHugePages(void* p, size_t len) {
  constexpr uintptr_t kHuge = 2 * 1024 * 1024;
  const uintptr_t begin = (reinterpret_cast<uintptr_t>(p) + kHuge - 1) & ~(kHuge - 1);
  const uintptr_t end = (reinterpret_cast<uintptr_t>(p) + len) & ~(kHuge - 1);
  if (end > begin) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
}
}  // namespace

// Inflated output written straight into the result string. The format does not give the size
// of what a stream inflates to, so the string is first reserved from the compressed length and
// grows geometrically only when the stream yields more. Only reserved memory that the output
// reaches is touched: the size grows a step at a time ahead of inflate.
class KvnCpmCommon_lmHdlLm::OutputString {
 public:
  OutputString(std::string& s, uint64_t compressedBytes) : m_s(s) {
    m_s.clear();
    m_s.reserve(static_cast<size_t>(std::min<uint64_t>(
        std::max<uint64_t>(compressedBytes, kMinGuess / kExpectedRatio) * kExpectedRatio,
        kMaxGuess)));
    adviseHugePages(&m_s[0], m_s.capacity());
  }

  // Free space at the end, or null when what was reserved is used up: a stream may end just
  // there, and so the string grows only for output that does come.
  unsigned char* room(size_t& got) {
    if (m_used == m_s.size()) {
      if (m_s.size() == m_s.capacity()) return nullptr;
      m_s.resize(std::min(m_s.capacity(), m_used + kStep));
    }
    got = m_s.size() - m_used;
    return reinterpret_cast<unsigned char*>(&m_s[m_used]);
  }

  void commit(size_t n) { m_used += n; }

  void append(const unsigned char* p, size_t n) {
    while (n > 0) {
      size_t got = 0;
      unsigned char* dst = room(got);
      if (dst == nullptr) {
        m_s.reserve(m_s.capacity() * 2);
        adviseHugePages(&m_s[0], m_s.capacity());
        continue;
      }
      got = std::min(got, n);
      std::memcpy(dst, p, got);
      commit(got);
      p += got;
      n -= got;
    }
  }

  void finish() { m_s.resize(m_used); }

 private:
  // Deflated trace metadata and images shrink about three to four times.
  static constexpr uint64_t kExpectedRatio = 4;
  static constexpr uint64_t kMinGuess = 64 * 1024;
  // A guess, never a promise of the container: what a 32-bit process can spare at once.
  static constexpr uint64_t kMaxGuess = 128 * 1024 * 1024;
  // Small enough to be still in cache when inflate writes over the zeros of the resize.
  static constexpr size_t kStep = 256 * 1024;

  std::string& m_s;
  size_t m_used = 0;
};

KvnCpmCommon_lmHdlLm::KvnCpmCommon_lmHdlLm() = default;
KvnCpmCommon_lmHdlLm::~KvnCpmCommon_lmHdlLm() = default;

bool KvnCpmCommon_lmHdlLm::init(const void* lmAddr, size_t bytesToEnd) {
  if (m_lmHeader_p) {
    EQMH_ERROR("Init can only be called once");
    return false;
  }
  if (lmAddr == nullptr || bytesToEnd < KvnCpmCommon_lmHeader::kSize) {
    EQMH_ERROR("LM header needs %u bytes, only %zu left in the LMC",
               (unsigned)KvnCpmCommon_lmHeader::kSize, lmAddr == nullptr ? 0 : bytesToEnd);
    return false;
  }
  const auto* raw = static_cast<const uint8_t*>(lmAddr);
  m_lmHeader_p = std::make_unique<KvnCpmCommon_lmHeader>();
  KvnCpmCommon_lmHeader& h = *m_lmHeader_p;
  h.lmfv = loadBe16(raw + 0);
  h.lmt = loadBe16(raw + 2);
  if (h.lmfv != 3 || h.lmt != 6) {
    EQMH_ERROR("LM header FV %d with LMT %d is not supported.", h.lmfv, h.lmt);
    return false;
  }
  // Texts without their NUL within the field are cut at the field's end.
  std::memcpy(h.role, raw + 40, 16);
  std::memcpy(h.identity, raw + 56, 32);
  m_identity = h.identity;
  h.nlm = loadBe32(raw + 4);
  h.ffu1 = loadBe16(raw + 38);
  h.snid = loadBe32(raw + 88);
  h.ca = loadBe16(raw + 92);
  h.ffu2 = loadBe16(raw + 94);
  h.dcl = loadBe32(raw + 96);
  h.ffu3 = loadBe16(raw + 100);
  h.crc = loadBe16(raw + 102);

  const uint16_t crc = KvnCpmCommon_crc::crc16(0, raw, KvnCpmCommon_lmHeader::kCrcCovered);
  if (crc != h.crc) {
    EQMH_ERROR("LM header CRC 0x%x error, crc = 0x%x.", h.crc, crc);
    return false;
  }
  if (h.ca != 0 && h.ca != 1) {
    EQMH_ERROR("Compression algorithm not supported, CA = %d", h.ca);
    return false;
  }
  const uint64_t lmSize = uint64_t{h.nlm} * 2;
  const uint64_t dataLength = uint64_t{h.dcl} * 2;
  if (lmSize > bytesToEnd) {
    EQMH_ERROR("LM %s of %llu bytes reaches past the end of the LMC, %zu bytes left",
               m_identity.c_str(), (unsigned long long)lmSize, bytesToEnd);
    return false;
  }
  if (KvnCpmCommon_lmHeader::kSize + dataLength > bytesToEnd) {
    EQMH_ERROR("LM %s data of %llu bytes reaches past the end of the LMC, %zu bytes left",
               m_identity.c_str(), (unsigned long long)dataLength, bytesToEnd);
    return false;
  }
  EQMH_DEBUG("LM %s role %s SNID %u CA %u DCL %u FFU1 %u FFU2 %u FFU3 %u", h.identity, h.role,
             h.snid, h.ca, h.dcl, h.ffu1, h.ffu2, h.ffu3);
  m_lmSize = lmSize;
  m_dataLength = dataLength;
  m_data_p = raw + KvnCpmCommon_lmHeader::kSize;
  return true;
}

bool KvnCpmCommon_lmHdlLm::usePlainPath() const {
  return !m_gzip && !(m_lmHeader_p && m_lmHeader_p->ca == 1);
}

bool KvnCpmCommon_lmHdlLm::saveToFile(const std::string& path, bool gzip) {
  m_gzip = gzip;
  if (usePlainPath()) return savePlainToFile(path);

  m_outFile = fopen(path.c_str(), "w+");
  if (m_outFile == nullptr) {
    EQMH_ERROR("Open of %s failed: %s", path.c_str(), strerror(errno));
    return false;
  }
  FILE* f = m_outFile;
  const bool ok = inflateData(nullptr);
  m_outFile = nullptr;
  if (!ok) {
    fclose(f);
    return false;
  }
  fflush(f);  // so that the size logged is what the file holds
  struct stat st;
  if (stat(path.c_str(), &st) != 0) {
    EQMH_ERROR("stat of %s failed: %s", path.c_str(), strerror(errno));
    fclose(f);
    return false;
  }
  EQMH_INFO("Decompress and create file: %s  size: %u bytes", path.c_str(), (unsigned)st.st_size);
  if (fclose(f) != 0) {
    EQMH_ERROR("close of %s failed: %s", path.c_str(), strerror(errno));
    return false;
  }
  return true;
}

bool KvnCpmCommon_lmHdlLm::saveToString(std::string& out, bool gzip) {
  m_gzip = gzip;
  if (usePlainPath()) return savePlainToString(out);

  OutputString result(m_outStr, m_dataLength);
  if (!inflateData(&result)) {
    m_outStr.clear();
    m_outStr.shrink_to_fit();
    return false;
  }
  result.finish();
  out = std::move(m_outStr);
  m_outStr.clear();
  return true;
}

bool KvnCpmCommon_lmHdlLm::savePlainToFile(const std::string& path) {
  if (!readLmDataHeader(m_data_p, m_dataLength)) return false;
  KvnCpmCommon_mapFile file(path, m_dataLength);
  if (m_dataLength > 0) {
    if (file.addr() == nullptr) return false;
    std::memcpy(file.addr(), m_data_p, m_dataLength);
  }
  file.unmap();
  EQMH_INFO("Saved load module: %s into: %s  size: %u bytes", m_identity.c_str(), path.c_str(),
            (unsigned)m_dataLength);
  return true;
}

bool KvnCpmCommon_lmHdlLm::savePlainToString(std::string& out) {
  if (!readLmDataHeader(m_data_p, m_dataLength)) return false;
  std::string data;
  data.reserve(m_dataLength);
  adviseHugePages(&data[0], data.capacity());
  data.assign(reinterpret_cast<const char*>(m_data_p), m_dataLength);
  out = std::move(data);
  return true;
}

bool KvnCpmCommon_lmHdlLm::readLmDataHeader(const uint8_t*& data, uint64_t& length) {
  if (m_lmDataHeader_p) {
    EQMH_ERROR("m_lmDataHeader_p already allocated");
    return false;
  }
  if (data == nullptr || length < KvnCpmCommon_lmDataHeader::kSize) {
    EQMH_ERROR("Not enough data to read lmDataHeader");
    return false;
  }
  m_lmDataHeader_p = std::make_unique<KvnCpmCommon_lmDataHeader>();
  for (int i = 0; i < 3; ++i) m_lmDataHeader_p->value[i] = loadBe32(data + 4 * i);
  data += KvnCpmCommon_lmDataHeader::kSize;
  length -= KvnCpmCommon_lmDataHeader::kSize;
  return true;
}

// Output goes to m_outFile when it is open, else to `result`. A stream whose input runs out
// before its end counts as complete: what was inflated up to there is the result.
bool KvnCpmCommon_lmHdlLm::inflateData(OutputString* result) {
  const uint8_t* in = m_data_p;
  uint64_t inLeft = m_dataLength;
  if (m_data_p != nullptr && m_lmHeader_p && m_lmHeader_p->ca == 0) {
    if (!readLmDataHeader(in, inLeft)) return false;
  }

  z_stream strm;
  std::memset(&strm, 0, sizeof strm);
  int rc = m_gzip ? inflateInit2_(&strm, 31, ZLIB_VERSION, static_cast<int>(sizeof(z_stream)))
                  : inflateInit_(&strm, ZLIB_VERSION, static_cast<int>(sizeof(z_stream)));
  if (rc != Z_OK) {
    EQMH_ERROR("inflateInit failed: %d", rc);
    return false;
  }

  unsigned char chunk[kChunk];
  for (;;) {
    // Once the data header is off, output to memory takes the rest of the input at once and
    // all the room the string has: fewer rounds through inflate, each of which also copies into
    // its window, for the same result.
    const bool direct = m_outFile == nullptr && result != nullptr && m_lmDataHeader_p;
    const auto take = static_cast<uInt>(std::min<uint64_t>(direct ? UINT_MAX : kChunk, inLeft));
    if (take == 0) {
      inflateEnd(&strm);
      return true;
    }
    if (in == nullptr) {
      EQMH_ERROR("invalid address while inflating");
      inflateEnd(&strm);
      return false;
    }
    strm.next_in = const_cast<Bytef*>(in);
    strm.avail_in = take;
    in += take;
    inLeft -= take;

    do {
      // Until the data header is read, output lands in the chunk, where it is taken off; so
      // does output beyond the room the string has.
      size_t space = kChunk;
      unsigned char* out = m_outFile == nullptr && result != nullptr && m_lmDataHeader_p
                               ? result->room(space)
                               : nullptr;
      const bool toString = out != nullptr;
      if (!toString) {
        out = chunk;
        space = kChunk;
      }
      strm.next_out = out;
      strm.avail_out = static_cast<uInt>(space);
      rc = inflate(&strm, Z_NO_FLUSH);
      if (rc == Z_MEM_ERROR || rc == Z_DATA_ERROR || rc == Z_STREAM_ERROR || rc == Z_NEED_DICT) {
        EQMH_ERROR("inflate  failed: %d -> %s", rc, strm.msg != nullptr ? strm.msg : zError(rc));
        inflateEnd(&strm);
        return false;
      }
      const size_t produced = space - strm.avail_out;
      if (toString) {
        result->commit(produced);
        continue;
      }
      const uint8_t* rest = out;
      uint64_t restLen = produced;
      if (!m_lmDataHeader_p && !readLmDataHeader(rest, restLen)) {
        inflateEnd(&strm);
        return false;
      }
      if (m_outFile != nullptr) {
        const size_t written = restLen > 0 ? fwrite(rest, 1, restLen, m_outFile) : 0;
        if (written != restLen || ferror(m_outFile)) {
          EQMH_ERROR("fwrite  failed: bytes expected:%u, written:%u errno:%s ", (unsigned)restLen,
                     (unsigned)written, strerror(errno));
          inflateEnd(&strm);
          return false;
        }
      } else if (result != nullptr) {
        result->append(rest, restLen);
      }
    } while (strm.avail_out == 0);

    if (rc == Z_STREAM_END) {
      inflateEnd(&strm);
      return true;
    }
  }
}
