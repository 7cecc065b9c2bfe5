#include "decode/dump_file.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kvn::decode {

namespace {

// The value of a base64 character, -1 for white space, -2 for padding, -3 for anything else.
int valueOf(uint8_t c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  if (c == '/') return 63;
  if (c == ' ' || c == '\n' || c == '\r' || c == '\t') return -1;
  if (c == '=') return -2;
  return -3;
}

}  // namespace

std::vector<uint8_t> DumpFile::read(const std::string& path, Encoding encoding) {
  const int fd = path == "-" ? 0 : open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) throw Error("cannot open " + path + ": " + strerror(errno));
  std::vector<uint8_t> bytes;
  struct stat st;
  const size_t step = fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && st.st_size > 0
                          ? static_cast<size_t>(st.st_size) + 1  // + 1: to see the end at once
                          : size_t{1} << 20;
  for (;;) {
    const size_t at = bytes.size();
    bytes.resize(at + step);
    const ssize_t n = ::read(fd, bytes.data() + at, bytes.size() - at);
    if (n < 0 && errno == EINTR) {
      bytes.resize(at);
      continue;
    }
    if (n <= 0) {
      const int err = errno;
      bytes.resize(at);
      if (fd != 0) close(fd);
      if (n < 0) throw Error("cannot read " + path + ": " + strerror(err));
      break;
    }
    bytes.resize(at + static_cast<size_t>(n));
  }
  if (encoding == Encoding::kBase64 || (encoding == Encoding::kAuto && isBase64(bytes)))
    return decodeBase64(bytes);
  return bytes;
}

bool DumpFile::isBase64(const std::vector<uint8_t>& text) {
  for (uint8_t c : text)
    if (valueOf(c) == -3) return false;
  return !text.empty();
}

std::vector<uint8_t> DumpFile::decodeBase64(const std::vector<uint8_t>& text) {
  std::vector<uint8_t> out;
  out.reserve(text.size() / 4 * 3);
  uint32_t bits = 0;
  int count = 0;
  bool padded = false;
  for (size_t i = 0; i < text.size(); ++i) {
    const int v = valueOf(text[i]);
    if (v == -1) continue;
    if (v == -3 || (padded && v != -2))
      throw Error("not base64: byte " + std::to_string(i) + " of the input");
    if (v == -2) {
      padded = true;
      continue;
    }
    bits = bits << 6 | static_cast<uint32_t>(v);
    count += 6;
    if (count >= 8) {
      count -= 8;
      out.push_back(static_cast<uint8_t>(bits >> count));
    }
  }
  return out;
}

}  // namespace kvn::decode
