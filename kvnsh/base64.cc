#include "kvnsh/base64.h"

namespace kvnsh {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

void quad(uint8_t a, uint8_t b, uint8_t c, size_t bytes, char q[4]) {
  const uint32_t v = static_cast<uint32_t>(a) << 16 | static_cast<uint32_t>(b) << 8 | c;
  q[0] = kAlphabet[v >> 18 & 63];
  q[1] = kAlphabet[v >> 12 & 63];
  q[2] = bytes > 1 ? kAlphabet[v >> 6 & 63] : '=';
  q[3] = bytes > 2 ? kAlphabet[v & 63] : '=';
}

}  // namespace

void Base64::put(char c, std::string* out) {
  out->push_back(c);
  if (++column_ == kLineLength) {
    out->push_back('\n');
    column_ = 0;
  }
}

void Base64::feed(const uint8_t* data, size_t size, std::string* out) {
  if (size == 0) return;
  open_ = true;
  out->reserve(out->size() + (size + 2) / 3 * 4 + size / 57 + 2);
  size_t i = 0;
  char q[4];
  // Complete the group that the last call left open.
  while (heldCount_ > 0 && i < size) {
    held_[heldCount_++] = data[i++];
    if (heldCount_ == 3) {
      quad(held_[0], held_[1], held_[2], 3, q);
      for (char c : q) put(c, out);
      heldCount_ = 0;
    }
  }
  for (; i + 3 <= size; i += 3) {
    quad(data[i], data[i + 1], data[i + 2], 3, q);
    for (char c : q) put(c, out);
  }
  while (i < size) held_[heldCount_++] = data[i++];
}

void Base64::finish(std::string* out) {
  if (heldCount_ > 0) {
    char q[4];
    quad(held_[0], heldCount_ > 1 ? held_[1] : 0, 0, heldCount_, q);
    for (char c : q) put(c, out);
  }
  if (column_ > 0) out->push_back('\n');
  heldCount_ = 0;
  column_ = 0;
  open_ = false;
}

std::string Base64::encode(const void* data, size_t size) {
  const uint8_t* p = static_cast<const uint8_t*>(data);
  std::string out;
  out.reserve((size + 2) / 3 * 4);
  char q[4];
  size_t i = 0;
  for (; i + 3 <= size; i += 3) {
    quad(p[i], p[i + 1], p[i + 2], 3, q);
    out.append(q, 4);
  }
  if (i < size) {
    quad(p[i], i + 1 < size ? p[i + 1] : 0, 0, size - i, q);
    out.append(q, 4);
  }
  return out;
}

}  // namespace kvnsh
