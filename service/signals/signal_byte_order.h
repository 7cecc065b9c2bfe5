#pragma once
// Field-by-field byte order of signal bodies. Records are packed to their wire layout, so fields
// are reached by offset and copied, never through a (possibly misaligned) reference. Every swap
// is bounded by the size of the message it works on: a field that the message does not hold
// whole is left alone, so a short or lying message is never read or written past its end.

#include <arpa/inet.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <algorithm>
#include <type_traits>

namespace kvnsig {

inline uint8_t swapBytes(uint8_t v) { return v; }
inline uint16_t swapBytes(uint16_t v) { return htons(v); }
inline int16_t swapBytes(int16_t v) {
  return static_cast<int16_t>(htons(static_cast<uint16_t>(v)));
}
inline uint32_t swapBytes(uint32_t v) { return htonl(v); }

// Turns the `T` at `offset` of a message of `msgSize` bytes, if it lies within it.
template <typename T>
void swapAt(void* msg, size_t offset, size_t msgSize) {
  static_assert(std::is_integral_v<T>, "only integers are turned");
  if (offset + sizeof(T) > msgSize) return;
  unsigned char* p = static_cast<unsigned char*>(msg) + offset;
  T v;
  memcpy(&v, p, sizeof v);
  v = swapBytes(v);
  memcpy(p, &v, sizeof v);
}

// Reads the `T` at `offset` as it stands (0 when the message does not hold it).
template <typename T>
T readAt(const void* msg, size_t offset, size_t msgSize) {
  T v{};
  if (offset + sizeof(T) <= msgSize)
    memcpy(&v, static_cast<const unsigned char*>(msg) + offset, sizeof v);
  return v;
}

// How many of `count` elements of `elemSize` bytes from `offset` a message of `msgSize` holds.
inline size_t elementsWithin(size_t count, size_t offset, size_t elemSize, size_t msgSize) {
  if (offset >= msgSize || elemSize == 0) return 0;
  return std::min(count, (msgSize - offset) / elemSize);
}

}  // namespace kvnsig

// Turns one integer field (or each element of an array of integers) of a `Type` that starts
// `base` bytes into the message `msg` of `msgSize` bytes; parts beyond the message are left.
#define KVNSIG_SWAP_IN(msg, base, Type, field, msgSize)                                     \
  do {                                                                                      \
    using KvnsigField_ = decltype(Type::field);                                             \
    if constexpr (std::is_array_v<KvnsigField_>) {                                          \
      using KvnsigElem_ = std::remove_extent_t<KvnsigField_>;                               \
      for (size_t kvnsigI_ = 0; kvnsigI_ < std::extent_v<KvnsigField_>; ++kvnsigI_)         \
        ::kvnsig::swapAt<KvnsigElem_>(                                                      \
            msg, (base) + offsetof(Type, field) + kvnsigI_ * sizeof(KvnsigElem_), msgSize); \
    } else {                                                                                \
      ::kvnsig::swapAt<KvnsigField_>(msg, (base) + offsetof(Type, field), msgSize);         \
    }                                                                                       \
  } while (0)

// Turns one field of the record `*msg` itself.
#define KVNSIG_SWAP(msg, field, msgSize) \
  KVNSIG_SWAP_IN(msg, 0, std::remove_pointer_t<decltype(msg)>, field, msgSize)

// A signal whose body is not read or has none: the 12-byte header only.
#define KVNSIG_HEADER_ONLY(Type, textName)         \
  struct Type {                                    \
    KvnObsSubMessageWithSubMsgNo header;           \
    static std::string name() { return textName; } \
    static void toNetwork(Type*, size_t) {}        \
    static void toHost(Type*, size_t) {}           \
  };                                               \
  static_assert(sizeof(Type) == 12, #Type " is the header only")

// Declares the name and the two conversions of a record with a body.
#define KVNSIG_BODY(Type, textName)                 \
  static std::string name() { return textName; }    \
  static void toNetwork(Type* msg, size_t msgSize); \
  static void toHost(Type* msg, size_t msgSize)
