#pragma once
// The name service on the wire between libpxm and the hub: request frames of the types kept
// for it (from kNameServiceFirst on), each answered by a kReply whose value is an NS_* result
// (or, for lookups, the number of entries, which follow in the reply's data). Indications to
// subscribers are ordinary kDeliver frames. All fields in host byte order.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "pxm/frame.h"

namespace pxm {

enum NsFrameType : uint16_t {
  // {u32 req, u32 mbox, u32 serviceLength, service, attributes}
  kNsPublish = kNameServiceFirst,
  kNsUnpublish = kNameServiceFirst + 1,
  // {u32 req, u32 mbox, u64 tag, u32 serviceLength, service, kind}
  kNsSubscribe = kNameServiceFirst + 2,
  // {u32 req, u32 mbox, u32 subscription id}
  kNsUnsubscribe = kNameServiceFirst + 3,
  // {u32 req, u32 mbox, i32 maxResults, u32 serviceLength, service, attributes}
  kNsLookup = kNameServiceFirst + 4,
  // {u32 req}: every publication, for the operators' tool
  kNsList = kNameServiceFirst + 5,
};

// One publication in a lookup or list answer: {u32 mbox, u32 serviceSize, u32 huntpathSize},
// then the service name and the huntpath, each with its terminator (the sizes count it).
struct NsWireEntry {
  uint32_t mbox;
  uint32_t serviceSize;
  uint32_t huntpathSize;
};
static_assert(sizeof(NsWireEntry) == 12, "NsWireEntry is 12 bytes on the wire");

// Appends one publication to an answer.
inline void appendNsEntry(std::string& out, uint32_t mbox, std::string_view service,
                          std::string_view huntpath) {
  const NsWireEntry head{mbox, static_cast<uint32_t>(service.size() + 1),
                         static_cast<uint32_t>(huntpath.size() + 1)};
  out.append(reinterpret_cast<const char*>(&head), sizeof head);
  out.append(service.data(), service.size());
  out.push_back('\0');
  out.append(huntpath.data(), huntpath.size());
  out.push_back('\0');
}

// Little helpers to build a request body field by field.
inline void appendU32(std::string& out, uint32_t v) {
  out.append(reinterpret_cast<const char*>(&v), sizeof v);
}
inline void appendU64(std::string& out, uint64_t v) {
  out.append(reinterpret_cast<const char*>(&v), sizeof v);
}

}  // namespace pxm
