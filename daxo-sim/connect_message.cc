#include "daxo-sim/connect_message.h"

#include <string.h>

#include "base/big_endian.h"

namespace kvn::daxosim {

namespace {

using namespace daxo_connect;

// Copies the text into its fixed field; the rest of the field stays zero.
void putText(std::vector<uint8_t>& m, size_t at, size_t fieldSize, const std::string& s) {
  memcpy(&m[at], s.data(), s.size() < fieldSize ? s.size() : fieldSize);
}

void putAttributes(std::vector<uint8_t>& m, size_t at, const AgentDescription& d) {
  for (const AgentDescription::Attribute& a : d.attributes) {
    storeBe16(&m[at], a.routineId);
    storeBe16(&m[at + daxo_connect::kAttributeType], a.propertyType);
    for (int i = 0; i < 3; ++i)
      storeBe16(&m[at + daxo_connect::kAttributeValue + 2 * i], a.value[i]);
    at += ConnectMessage::kAttributeSize;
  }
}

}  // namespace

std::vector<uint8_t> ConnectMessage::encode(const AgentDescription& d) {
  const size_t n = d.attributes.size();
  const uint16_t count = d.attributeCount ? *d.attributeCount : static_cast<uint16_t>(n);
  const uint32_t msgno = kBaseSignalNo;
  std::vector<uint8_t> m;
  if (d.form == AgentDescription::ConnectForm::kInitial) {
    m.assign(kInitialFixedSize + kAttributeSize * n, 0);
    memcpy(&m[0], &msgno, 4);
    storeBe16(&m[4], kInitialRoutine);
    putText(m, kInitialName, kNameSize, d.instanceName);
    storeBe16(&m[kInitialDomain], d.domainDaxoIndex);
    storeBe16(&m[kInitialNumber], d.bbmHwNumber);
    storeBe16(&m[kInitialCount], count);
    putAttributes(m, kInitialFixedSize, d);
    return m;
  }
  const bool hasRole = d.version > 1;
  m.assign(kVersionFixedSize + kAttributeSize * n + (hasRole ? 2 : 0), 0);
  memcpy(&m[0], &msgno, 4);
  storeBe16(&m[4], kVersionRoutine);
  storeBe32(&m[kVersionVersion], d.version);
  putText(m, kVersionName, kNameSize, d.instanceName);
  putText(m, kVersionModule, kNameSize, d.loadModuleName);
  putText(m, kVersionLmc, kLmcPathSize, d.lmcPath);
  storeBe16(&m[kVersionDomain], d.domainDaxoIndex);
  storeBe16(&m[kVersionNumber], d.bbmHwNumber);
  storeBe16(&m[kVersionCount], count);
  putAttributes(m, kVersionFixedSize, d);
  if (hasRole) storeBe16(&m[kVersionFixedSize + kAttributeSize * n], d.roleIndex);
  return m;
}

}  // namespace kvn::daxosim
