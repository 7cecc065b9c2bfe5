#pragma once
// Big-endian loads and stores, safe at any alignment: the byte order of every wire record and
// file format in the tree (signal bodies, the shell's records, containers and tables).

#include <cstdint>

namespace kvn {

inline uint16_t loadBe16(const void* p) {
  const auto* b = static_cast<const uint8_t*>(p);
  return static_cast<uint16_t>((b[0] << 8) | b[1]);
}

inline uint32_t loadBe32(const void* p) {
  const auto* b = static_cast<const uint8_t*>(p);
  return (uint32_t{b[0]} << 24) | (uint32_t{b[1]} << 16) | (uint32_t{b[2]} << 8) | b[3];
}

inline void storeBe16(void* p, uint16_t v) {
  auto* b = static_cast<uint8_t*>(p);
  b[0] = static_cast<uint8_t>(v >> 8);
  b[1] = static_cast<uint8_t>(v);
}

inline void storeBe32(void* p, uint32_t v) {
  auto* b = static_cast<uint8_t*>(p);
  b[0] = static_cast<uint8_t>(v >> 24);
  b[1] = static_cast<uint8_t>(v >> 16);
  b[2] = static_cast<uint8_t>(v >> 8);
  b[3] = static_cast<uint8_t>(v);
}

// Appends to a growing byte string (std::string, std::vector<uint8_t>).
template <typename Bytes>
void appendBe16(Bytes& out, uint16_t v) {
  using Byte = typename Bytes::value_type;
  out.push_back(static_cast<Byte>(v >> 8));
  out.push_back(static_cast<Byte>(v));
}

template <typename Bytes>
void appendBe32(Bytes& out, uint32_t v) {
  appendBe16(out, static_cast<uint16_t>(v >> 16));
  appendBe16(out, static_cast<uint16_t>(v));
}

}  // namespace kvn
