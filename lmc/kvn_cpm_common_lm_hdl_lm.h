#pragma once
// One load module inside a mapped container: its 104-byte header, checked once by init(), and
// the extraction of its data, plain or inflated, to a file or to memory. The data stays in the
// container's mapping, so a module never outlives its container.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

// The module header in host byte order.
struct KvnCpmCommon_lmHeader {
  static constexpr size_t kSize = 104;
  static constexpr size_t kCrcCovered = 102;

  uint16_t lmfv = 0;
  uint16_t lmt = 0;
  uint32_t nlm = 0;  // whole module, in 16-bit words
  uint16_t ffu1 = 0;
  char role[17] = {};
  char identity[33] = {};
  uint32_t snid = 0;
  uint16_t ca = 0;  // 0 none, 1 deflate stream
  uint16_t ffu2 = 0;
  uint32_t dcl = 0;  // data, in 16-bit words
  uint16_t ffu3 = 0;
  uint16_t crc = 0;
};

// The three values that lead a module's data; nothing here interprets them.
struct KvnCpmCommon_lmDataHeader {
  static constexpr size_t kSize = 12;
  uint32_t value[3] = {};
};

class KvnCpmCommon_lmHdlLm {
 public:
  KvnCpmCommon_lmHdlLm();
  virtual ~KvnCpmCommon_lmHdlLm();

  KvnCpmCommon_lmHdlLm(const KvnCpmCommon_lmHdlLm&) = delete;
  KvnCpmCommon_lmHdlLm& operator=(const KvnCpmCommon_lmHdlLm&) = delete;

  // Reads and checks the header at `lmAddr`, of which `bytesToEnd` bytes lie inside the
  // mapping. Nothing of the module (header, whole size, data) may reach past them.
  bool init(const void* lmAddr, size_t bytesToEnd);

  std::string getIdentity() const { return m_identity; }
  uint64_t getSize() const { return m_lmSize; }

  // Extract the data, the lmDataHeader taken off. With gzip false and CA 0 the data is taken
  // as it stands, which works once per object; otherwise it is inflated (gzip framing when
  // `gzip` is set, zlib framing else).
  bool saveToFile(const std::string& path, bool gzip);
  bool saveToString(std::string& out, bool gzip);

  // Null until init() has read the header / until an extraction has read the data header.
  const KvnCpmCommon_lmHeader* getHeader() const { return m_lmHeader_p.get(); }
  const KvnCpmCommon_lmDataHeader* getDataHeader() const { return m_lmDataHeader_p.get(); }
  uint64_t getDataLength() const { return m_dataLength; }
  const uint8_t* getData() const { return m_data_p; }

 private:
  class OutputString;

  bool usePlainPath() const;
  bool readLmDataHeader(const uint8_t*& data, uint64_t& length);
  bool savePlainToFile(const std::string& path);
  bool savePlainToString(std::string& out);
  bool inflateData(OutputString* result);

  uint64_t m_lmSize = 0;
  std::string m_identity;
  bool m_gzip = false;
  uint64_t m_dataLength = 0;
  const uint8_t* m_data_p = nullptr;
  FILE* m_outFile = nullptr;
  std::string m_outStr;
  std::unique_ptr<KvnCpmCommon_lmHeader> m_lmHeader_p;
  std::unique_ptr<KvnCpmCommon_lmDataHeader> m_lmDataHeader_p;
};
