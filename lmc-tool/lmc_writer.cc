#include "lmc-tool/lmc_writer.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>

#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <stdexcept>

#include "base/big_endian.h"
#include "lmc/kvn_cpm_common_crc.h"

namespace kvn::lmc {

namespace {

constexpr uint16_t kLmct = 21;
constexpr uint16_t kLmfv = 3;
constexpr uint16_t kLmt = 6;

void putText(std::string& buf, size_t offset, const std::string& text) {
  std::memcpy(&buf[offset], text.data(), text.size());
}

void checkText(const std::string& what, const std::string& text, size_t field) {
  if (text.size() >= field || text.find('\0') != std::string::npos) {
    throw std::invalid_argument(what + " '" + text + "' does not fit its field of " +
                                std::to_string(field) + " bytes with its NUL");
  }
}

uint16_t crcOf(const std::string& buf, size_t offset, size_t length) {
  return KvnCpmCommon_crc::crc16(0, buf.data() + offset, length);
}

}  // namespace

void LmcWriter::addModule(LmDefinition def) {
  checkText("Identity", def.identity, 32);
  checkText("Role", def.role, 16);
  if (def.compression > 1) {
    throw std::invalid_argument("Compression of '" + def.identity + "' must be 0 or 1");
  }
  m_modules.push_back(std::move(def));
}

std::string LmcWriter::deflateStream(const std::string& in, bool gzip) {
  if (in.size() > UINT_MAX / 2) throw std::invalid_argument("Content too large to deflate");
  z_stream strm;
  std::memset(&strm, 0, sizeof strm);
  if (deflateInit2(&strm, Z_DEFAULT_COMPRESSION, Z_DEFLATED, gzip ? 31 : 15, 8,
                   Z_DEFAULT_STRATEGY) != Z_OK) {
    throw std::runtime_error("deflateInit2 failed");
  }
  std::string out(deflateBound(&strm, in.size()), '\0');
  strm.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(in.data()));
  strm.avail_in = static_cast<uInt>(in.size());
  strm.next_out = reinterpret_cast<Bytef*>(&out[0]);
  strm.avail_out = static_cast<uInt>(out.size());
  const int rc = deflate(&strm, Z_FINISH);
  out.resize(strm.total_out);
  deflateEnd(&strm);
  if (rc != Z_STREAM_END) throw std::runtime_error("deflate did not finish: " + std::to_string(rc));
  return out;
}

std::string LmcWriter::encodeData(const LmDefinition& def) {
  std::string dh(12, '\0');
  for (int i = 0; i < 3; ++i) storeBe32(&dh[4 * i], def.dataHeader[i]);
  std::string data;
  if (def.compression == 0) {
    data = dh + (def.gzip ? deflateStream(def.content, true) : def.content);
  } else {
    data = deflateStream(dh + def.content, def.gzip);
  }
  data.resize(data.size() - std::min(def.faults.cutData, data.size()));
  return data;
}

std::string LmcWriter::build() const {
  const Header& h = m_header;
  if (h.formatVersion > 1) {
    throw std::invalid_argument("Format version must be 0 or 1, not " +
                                std::to_string(h.formatVersion));
  }
  uint32_t hbytes = h.headerBytes != 0 ? h.headerBytes : (h.formatVersion == 0 ? 52 : 88);
  if (h.formatVersion == 0 ? hbytes != 52 : (hbytes <= 56 || (hbytes - 56) % 32 != 0)) {
    throw std::invalid_argument("Header length " + std::to_string(hbytes) +
                                " is not valid for format version " +
                                std::to_string(h.formatVersion) +
                                " (52 for version 0; 56 plus a multiple of 32 for version 1)");
  }
  if (hbytes > 0xFFFF * 2) throw std::invalid_argument("Header length too large");
  if (m_modules.size() > 0xFFFF) throw std::invalid_argument("More than 65535 modules");
  checkText("Product number", h.productNumber, 23);
  checkText("Product revision", h.productRevision, 9);

  std::string out(hbytes, '\0');
  storeBe16(&out[0], h.formatVersion);
  storeBe16(&out[2], static_cast<uint16_t>(hbytes / 2));
  storeBe16(&out[4], h.lmct.value_or(kLmct));
  putText(out, 6, h.productNumber);
  putText(out, 28, h.productRevision);
  storeBe16(&out[hbytes - 10], h.lmCount.value_or(static_cast<uint16_t>(m_modules.size())));
  uint16_t crc = crcOf(out, 0, hbytes - 4);
  storeBe16(&out[hbytes - 4], h.badCrc ? static_cast<uint16_t>(crc ^ 0x5A5A) : crc);

  for (const LmDefinition& m : m_modules) {
    std::string data = encodeData(m);
    if (data.size() % 2 != 0) data.push_back('\0');  // lengths count 16-bit words
    const uint64_t total = kModuleHeaderBytes + data.size();
    if (total / 2 > 0xFFFFFFFFu) throw std::invalid_argument("Module too large: " + m.identity);
    const size_t at = out.size();
    out.resize(at + kModuleHeaderBytes);
    storeBe16(&out[at + 0], m.faults.lmfv.value_or(kLmfv));
    storeBe16(&out[at + 2], m.faults.lmt.value_or(kLmt));
    storeBe32(&out[at + 4], m.faults.nlm.value_or(static_cast<uint32_t>(total / 2)));
    putText(out, at + 40, m.role);
    putText(out, at + 56, m.identity);
    storeBe32(&out[at + 88], m.snid);
    storeBe16(&out[at + 92], m.faults.ca.value_or(m.compression));
    storeBe32(&out[at + 96], m.faults.dcl.value_or(static_cast<uint32_t>(data.size() / 2)));
    crc = crcOf(out, at, 102);
    storeBe16(&out[at + 102], m.faults.badCrc ? static_cast<uint16_t>(crc ^ 0x5A5A) : crc);
    out += data;
  }
  return out;
}

void LmcWriter::writeFile(const std::string& path) const {
  const std::string bytes = build();
  std::string tmp = path + ".XXXXXX";
  int fd = mkstemp(&tmp[0]);
  if (fd < 0) throw std::runtime_error("Cannot create " + tmp + ": " + strerror(errno));
  size_t done = 0;
  while (done < bytes.size()) {
    ssize_t n = write(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      const std::string err = strerror(errno);
      close(fd);
      unlink(tmp.c_str());
      throw std::runtime_error("Cannot write " + tmp + ": " + err);
    }
    done += static_cast<size_t>(n);
  }
  fchmod(fd, 0644);
  bool ok = fsync(fd) == 0;
  int err = errno;
  if (close(fd) != 0 && ok) {
    ok = false;
    err = errno;
  }
  if (ok && rename(tmp.c_str(), path.c_str()) != 0) {
    ok = false;
    err = errno;
  }
  if (!ok) {
    unlink(tmp.c_str());
    throw std::runtime_error("Cannot write " + path + ": " + strerror(err));
  }
}

}  // namespace kvn::lmc
