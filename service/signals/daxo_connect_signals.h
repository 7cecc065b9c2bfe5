#pragma once
// The agents' connect messages, InitialConnect to routine 0 and DaxoVersionConnect to routine 5:
// their layout, what an agent's routines implement, and the one decoder of both. The layout
// and the codes are header-only, so that the agent simulator builds its message from them.

#include <stddef.h>
#include <stdint.h>

#include <optional>
#include <string>
#include <vector>

namespace kvn {

// The value of an IMPLEMENTS attribute: what a routine of the agent is.
enum ImplementsCode : uint16_t {
  kImplementsEmbuf = 4,
  kImplementsTraceDest = 6,
  kImplementsForwarder = 8,
  kImplementsMemoryBuffer = 9,
  kImplementsRttManager = 10,
  kImplementsMeasurements = 11,
  kImplementsTraceHitCounter = 13,
  kImplementsTraceObjectManager = 14,
  kImplementsUniqueTraceManager = 15,
  kImplementsSig2emManager = 16,
};

// Byte offsets of the two messages; every field behind the 12-byte header is big-endian.
namespace daxo_connect {

constexpr uint16_t kInitialRoutine = 0;
constexpr uint16_t kVersionRoutine = 5;
constexpr size_t kNameSize = 20;
constexpr size_t kLmcPathSize = 256;

constexpr size_t kInitialName = 12, kInitialDomain = 32, kInitialNumber = 34, kInitialCount = 36,
                 kInitialAttributes = 40;
constexpr size_t kVersionVersion = 12, kVersionName = 16, kVersionModule = 36, kVersionLmc = 56,
                 kVersionDomain = 312, kVersionNumber = 314, kVersionCount = 316,
                 kVersionAttributes = 318;

// One componentAttribute, 10 bytes: a fact about one routine of the agent.
constexpr size_t kAttributeSize = 10;
constexpr size_t kAttributeType = 2, kAttributeValue = 4;
enum PropertyType : uint16_t { kImplements = 0, kThreeNumbers = 1, kLinkCount = 2, kLink = 3 };

}  // namespace daxo_connect

struct DaxoAttribute {
  uint16_t routineId;
  uint16_t propertyType;
  uint16_t value[3];
};

// A connect message as the model takes it. What the message does not hold reads as 0 (or
// empty); attributes that were not converted (a short message, or those from an unknown
// propertyType on) stand as they came.
struct DaxoConnect {
  bool initial = true;
  uint32_t version = 0;  // DaxoVersionConnect only
  std::string instanceName;
  std::string loadModuleName;  // DaxoVersionConnect only
  std::string lmcPath;         // DaxoVersionConnect only
  uint16_t domainDaxoIndex = 0;
  uint16_t bbmHwNumber = 0;
  std::optional<uint16_t> roleIndex;  // DaxoVersionConnect above version 1, when held
  std::vector<DaxoAttribute> attributes;
};

// Decodes a connect message of `size` bytes in network order, turning its fields to host order
// in place. Logs what the message gets wrong; a message that does not convert is still decoded.
DaxoConnect decodeDaxoConnect(uint8_t* msg, size_t size, bool initial);

}  // namespace kvn
