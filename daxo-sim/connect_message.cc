#include "daxo-sim/connect_message.h"

#include <string.h>

namespace kvn::daxosim {

namespace {

void putBe16(std::vector<uint8_t>& m, size_t at, uint16_t v) {
  m[at] = static_cast<uint8_t>(v >> 8);
  m[at + 1] = static_cast<uint8_t>(v);
}

void putBe32(std::vector<uint8_t>& m, size_t at, uint32_t v) {
  for (int i = 0; i < 4; ++i) m[at + i] = static_cast<uint8_t>(v >> (24 - 8 * i));
}

// Copies the text into its fixed field; the rest of the field stays zero.
void putText(std::vector<uint8_t>& m, size_t at, size_t fieldSize, const std::string& s) {
  memcpy(&m[at], s.data(), s.size() < fieldSize ? s.size() : fieldSize);
}

void putAttributes(std::vector<uint8_t>& m, size_t at, const AgentDescription& d) {
  for (const AgentDescription::Attribute& a : d.attributes) {
    putBe16(m, at, a.routineId);
    putBe16(m, at + 2, a.propertyType);
    for (int i = 0; i < 3; ++i) putBe16(m, at + 4 + 2 * i, a.value[i]);
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
    putBe16(m, 4, kInitialRoutine);
    putText(m, 12, AgentDescription::kNameSize, d.instanceName);
    putBe16(m, 32, d.domainDaxoIndex);
    putBe16(m, 34, d.bbmHwNumber);
    putBe16(m, 36, count);
    putAttributes(m, kInitialFixedSize, d);
    return m;
  }
  const bool hasRole = d.version > 1;
  m.assign(kVersionFixedSize + kAttributeSize * n + (hasRole ? 2 : 0), 0);
  memcpy(&m[0], &msgno, 4);
  putBe16(m, 4, kVersionRoutine);
  putBe32(m, 12, d.version);
  putText(m, 16, AgentDescription::kNameSize, d.instanceName);
  putText(m, 36, AgentDescription::kNameSize, d.loadModuleName);
  putText(m, 56, AgentDescription::kLmcPathSize, d.lmcPath);
  putBe16(m, 312, d.domainDaxoIndex);
  putBe16(m, 314, d.bbmHwNumber);
  putBe16(m, 316, count);
  putAttributes(m, kVersionFixedSize, d);
  if (hasRole) putBe16(m, kVersionFixedSize + kAttributeSize * n, d.roleIndex);
  return m;
}

}  // namespace kvn::daxosim
