#include "service/signals/daxo_connect_signals.h"

#include <string.h>

#include <algorithm>

#include "service/signals/signal_byte_order.h"
#include "tracing/log.h"

namespace kvn {

namespace {

using namespace daxo_connect;

// Turns `count` attributes from `offset` to host order, each field only where the message
// holds it. False at an unknown propertyType, which ends the conversion there.
bool attributesToHost(uint8_t* msg, size_t size, size_t offset, uint16_t count) {
  for (size_t i = 0; i < count; ++i) {
    const size_t at = offset + i * kAttributeSize;
    kvnsig::swapAt<uint16_t>(msg, at, size);
    kvnsig::swapAt<uint16_t>(msg, at + kAttributeType, size);
    const uint16_t propertyType = kvnsig::readAt<uint16_t>(msg, at + kAttributeType, size);
    switch (propertyType) {
      case kImplements:
      case kLinkCount:
        kvnsig::swapAt<uint16_t>(msg, at + kAttributeValue, size);
        break;
      case kThreeNumbers:
        for (size_t v = 0; v < 3; ++v)
          kvnsig::swapAt<uint16_t>(msg, at + kAttributeValue + 2 * v, size);
        break;
      case kLink:
        kvnsig::swapAt<uint16_t>(msg, at + kAttributeValue, size);
        kvnsig::swapAt<uint16_t>(msg, at + kAttributeValue + 2, size);
        break;
      default:
        TC_LOG_ERROR("Unknown propertyType in componentAttribute: %u", propertyType);
        return false;
    }
  }
  return true;
}

bool initialToHost(uint8_t* msg, size_t size) {
  for (size_t at : {kInitialDomain, kInitialNumber, kInitialCount})
    kvnsig::swapAt<uint16_t>(msg, at, size);
  const uint16_t count = kvnsig::readAt<uint16_t>(msg, kInitialCount, size);
  const size_t required = kInitialAttributes + kAttributeSize * count;
  if (size < required) {
    TC_LOG_ERROR(
        "InitialConnect message size is not large enough for the expected attributes. "
        "Expected size %zu but found %zu",
        required, size);
    return false;
  }
  return attributesToHost(msg, size, kInitialAttributes, count);
}

bool versionToHost(uint8_t* msg, size_t size) {
  kvnsig::swapAt<uint32_t>(msg, kVersionVersion, size);
  for (size_t at : {kVersionDomain, kVersionNumber, kVersionCount})
    kvnsig::swapAt<uint16_t>(msg, at, size);
  const uint32_t version = kvnsig::readAt<uint32_t>(msg, kVersionVersion, size);
  const uint16_t count = kvnsig::readAt<uint16_t>(msg, kVersionCount, size);
  size_t required = kVersionAttributes + kAttributeSize * count;
  if (version > 1) {
    kvnsig::swapAt<uint16_t>(msg, required, size);
    required += 2;
  }
  if (size < required) {
    TC_LOG_ERROR(
        "DaxoVersionConnect message size is not large enough for the expected "
        "attributes. Expected size %zu but found %zu",
        required, size);
    return false;
  }
  return attributesToHost(msg, size, kVersionAttributes, count);
}

// Ends a name field with a 0 byte and reads it, never past the message.
std::string takeName(uint8_t* msg, size_t size, size_t offset, size_t fieldSize) {
  if (offset >= size) return "";
  const size_t last = offset + fieldSize - 1;
  if (last < size) msg[last] = 0;
  const size_t avail = std::min(fieldSize, size - offset);
  const char* p = reinterpret_cast<const char*>(msg + offset);
  return std::string(p, strnlen(p, avail));
}

// The attributes the message holds, as they stand, at most `count`.
std::vector<DaxoAttribute> readAttributes(const uint8_t* msg, size_t size, size_t offset,
                                          uint16_t count) {
  const size_t n = kvnsig::elementsWithin(count, offset, kAttributeSize, size);
  std::vector<DaxoAttribute> out(n);
  for (size_t i = 0; i < n; ++i) memcpy(&out[i], msg + offset + i * kAttributeSize, kAttributeSize);
  return out;
}

}  // namespace

DaxoConnect decodeDaxoConnect(uint8_t* msg, size_t size, bool initial) {
  static_assert(sizeof(DaxoAttribute) == kAttributeSize, "an attribute is 10 bytes");
  DaxoConnect c;
  c.initial = initial;
  if (initial) {
    initialToHost(msg, size);
    c.bbmHwNumber = kvnsig::readAt<uint16_t>(msg, kInitialNumber, size);
    c.instanceName = takeName(msg, size, kInitialName, kNameSize);
    c.domainDaxoIndex = kvnsig::readAt<uint16_t>(msg, kInitialDomain, size);
    c.attributes = readAttributes(msg, size, kInitialAttributes,
                                  kvnsig::readAt<uint16_t>(msg, kInitialCount, size));
    return c;
  }
  versionToHost(msg, size);
  const uint16_t count = kvnsig::readAt<uint16_t>(msg, kVersionCount, size);
  c.version = kvnsig::readAt<uint32_t>(msg, kVersionVersion, size);
  c.bbmHwNumber = kvnsig::readAt<uint16_t>(msg, kVersionNumber, size);
  c.instanceName = takeName(msg, size, kVersionName, kNameSize);
  c.loadModuleName = takeName(msg, size, kVersionModule, kNameSize);
  c.lmcPath = takeName(msg, size, kVersionLmc, kLmcPathSize);
  c.domainDaxoIndex = kvnsig::readAt<uint16_t>(msg, kVersionDomain, size);
  const size_t roleOffset = kVersionAttributes + kAttributeSize * count;
  if (c.version > 1 && roleOffset + 2 <= size)
    c.roleIndex = kvnsig::readAt<uint16_t>(msg, roleOffset, size);
  c.attributes = readAttributes(msg, size, kVersionAttributes, count);
  return c;
}

}  // namespace kvn
