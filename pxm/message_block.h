#pragma once
// A message as the library hands it out. The caller sees only the payload (`pxm_msg`); in
// front of it sit the library's bookkeeping and the wire header of a kSend frame, so that a
// send is one write of contiguous bytes and needs no copy.
//
// Every block the library has handed out and not taken back is in a process-wide registry.
// A pointer is checked against it before anything is read through it, so a freed or foreign
// pointer is reported instead of being followed.

#include <cstddef>
#include <cstdint>

#include "pxm/frame.h"
#include "pxm/pxm.h"

namespace pxm {

class MessageBlock {
 public:
  // Largest message: what fits one frame.
  static constexpr size_t kMaxSize = kMaxFrameBody - sizeof(Route);

  // A registered block with room for `size` bytes, its first word `msgno`; null when the size
  // is out of range or memory is short.
  static MessageBlock* create(size_t size, uint32_t msgno);
  // A registered block holding a copy of a received message.
  static MessageBlock* fromWire(const Route& route, const char* message, size_t size);

  // The block behind a caller's pointer, or null when the library did not hand it out or has
  // taken it back.
  static MessageBlock* find(const pxm_msg* msg);
  // Takes the block out of the registry: the caller now holds the only reference and must
  // destroy() it.
  void unregister();
  // Frees a block that is out of the registry.
  void destroy();
  // unregister() and destroy(); for a chained block (a name server lookup list), also the
  // blocks that follow it.
  void release();
  // Marks the block as an entry of a list whose first payload word points to the next entry's
  // payload (or is null), so that releasing it releases the rest of the list as well.
  void setChained() { chained_ = 1; }

  pxm_msg* payload() { return reinterpret_cast<pxm_msg*>(this + 1); }
  const char* payloadBytes() const { return reinterpret_cast<const char*>(this + 1); }
  uint32_t msgno() const { return loadU32(payloadBytes()); }
  size_t size() const { return header_.length - sizeof(Route); }
  // Shrinks, or grows within the room the block has (the new bytes are zero).
  bool resize(size_t size);

  const Route& route() const { return route_; }
  void setRoute(const Route& route) { route_ = route; }

  // The kSend frame: header, route, message, as one piece.
  const void* wire() const { return &header_; }
  size_t wireSize() const { return sizeof header_ + header_.length; }

  // Runs the registry's lock around fork(), so that a child never inherits it held.
  static void lockRegistry();
  static void unlockRegistry();

 private:
  MessageBlock() = default;
  char* bytes() { return reinterpret_cast<char*>(this + 1); }

  uint32_t magic_;
  uint32_t chained_;  // 1: the first payload word links to the next block of a list
  // Message bytes the block has room for; 64 bits wide so that the head is 32 bytes, and the
  // payload 8-aligned, with 32-bit pointers as well.
  uint64_t capacity_;
  FrameHeader header_;
  Route route_;
};

}  // namespace pxm
