#pragma once
// The wire between libpxm and the pxmd hub: a stream of frames on one Unix socket per process.
// A frame is a FrameHeader followed by `length` body bytes, all in host byte order (both ends
// live on one machine). Every request that wants an answer carries a tag `req`, echoed by the
// hub in a kReply frame; everything meant for a mailbox arrives as a kDeliver frame. A name
// server lives in the same hub later: its requests take types from kNameServiceFirst on and
// answer through kReply, and its indications are kDeliver frames to the subscriber's mailbox.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace pxm {

constexpr uint32_t kProtocolVersion = 1;
// Largest body of one frame. A peer announcing more is cut off before anything is read.
constexpr size_t kMaxFrameBody = 64u << 20;
// Longest mailbox name, without terminator.
constexpr size_t kMaxNameLength = 255;

enum FrameType : uint16_t {
  // Process to hub.
  kHello = 1,        // {u32 req, u32 version, u32 pid}           -> kReply value: hub's version
  kCreate = 2,       // {u32 req, name bytes}                     -> kReply value: id or NO_MBOX
  kDelete = 3,       // {u32 mbox}
  kSend = 4,         // Route, message bytes (same layout as kDeliver)
  kLocate = 5,       // {u32 req, name bytes}                     -> kReply value: id or NO_MBOX
  kLocateAsync = 6,  // {u32 requester, u32 nameLength, name bytes, message bytes}
  kGetName = 7,      // {u32 req, u32 mbox}                       -> kReply value 1 + name, or 0
  kMonitor = 8,      // {u32 monitor, u32 watcher, u32 watched, message bytes}
  kUnmonitor = 9,    // {u32 req, u32 monitor}                   -> kReply value 0
  kBye = 10,         // {u32 req}: all mailboxes of the process go   -> kReply value 0
  // Hub to process.
  kReply = 64,    // {u32 req, u32 value, data bytes}
  kDeliver = 65,  // Route, message bytes
  kError = 66,    // text: why the hub cuts the process off; the connection closes after it
  kRefused = 67,  // {u32 Refusal, text}: the hub does not take the process; sent at connect,
                  // before any greeting, and the connection closes after it
  // Reserved for the name service: 256 to 511, process to hub.
  kNameServiceFirst = 256,
  kNameServiceLast = 511,
};

// Why the hub refuses a process at connect (the first word of a kRefused body).
enum Refusal : uint32_t {
  kRefusedNotAllowed = 1,     // neither the hub's user nor a member of its group
  kRefusedTooManyOfUser = 2,  // the user's connections are at their limit
  kRefusedTooMany = 3,        // the hub's connections are at their limit
};

struct FrameHeader {
  uint32_t length;  // body bytes that follow
  uint16_t type;    // FrameType
  uint16_t flags;   // 0; anything else is a malformed frame
};
static_assert(sizeof(FrameHeader) == 8, "FrameHeader is 8 bytes on the wire");

// The head of a kSend / kDeliver body; the message itself follows.
struct Route {
  uint32_t to;
  uint32_t from;
};
static_assert(sizeof(Route) == 8, "Route is 8 bytes on the wire");

// The smallest message: its number.
constexpr size_t kMinMessage = sizeof(uint32_t);

// A whole kDeliver frame for `message`, ready to queue.
inline std::vector<char> makeDeliverFrame(uint32_t to, uint32_t from, const void* message,
                                          size_t size) {
  std::vector<char> frame(sizeof(FrameHeader) + sizeof(Route) + size);
  const FrameHeader header{static_cast<uint32_t>(sizeof(Route) + size), kDeliver, 0};
  const Route route{to, from};
  std::memcpy(frame.data(), &header, sizeof header);
  std::memcpy(frame.data() + sizeof header, &route, sizeof route);
  if (size) std::memcpy(frame.data() + sizeof header + sizeof route, message, size);
  return frame;
}

// The Route of a whole kSend / kDeliver frame, and its rewrite in place.
inline Route routeOf(const std::vector<char>& frame) {
  Route route;
  std::memcpy(&route, frame.data() + sizeof(FrameHeader), sizeof route);
  return route;
}
inline void setRoute(std::vector<char>& frame, const Route& route) {
  std::memcpy(frame.data() + sizeof(FrameHeader), &route, sizeof route);
}

inline uint32_t loadU32(const char* p) {
  uint32_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

}  // namespace pxm
