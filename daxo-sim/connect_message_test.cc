#include "daxo-sim/connect_message.h"

#include <string.h>

#include <gtest/gtest.h>

namespace kvn::daxosim {
namespace {

uint16_t be16(const std::vector<uint8_t>& m, size_t at) {
  return static_cast<uint16_t>(m.at(at) << 8 | m.at(at + 1));
}

AgentDescription twoAttributes() {
  AgentDescription d;
  d.bbmHwNumber = 0x0102;
  d.domainDaxoIndex = 0x0304;
  d.instanceName = "MOKA";
  d.attributes = {{0x0A0B, 0, {14, 0, 0}}, {0x0C0D, 3, {1, 6, 0x7788}}};
  return d;
}

TEST(ConnectMessageTest, InitialConnectLayout) {
  AgentDescription d = twoAttributes();
  d.form = AgentDescription::ConnectForm::kInitial;
  std::vector<uint8_t> m = ConnectMessage::encode(d);
  ASSERT_EQ(m.size(), 40u + 2 * 10);
  uint32_t msgno;
  memcpy(&msgno, m.data(), 4);
  EXPECT_EQ(msgno, 0x170802Du);  // host order
  EXPECT_EQ(be16(m, 4), 0);      // routine 0
  EXPECT_EQ(std::string(reinterpret_cast<char*>(&m[12])), "MOKA");
  EXPECT_EQ(be16(m, 32), 0x0304);
  EXPECT_EQ(be16(m, 34), 0x0102);
  EXPECT_EQ(be16(m, 36), 2);
  const std::vector<uint8_t> attrs(m.begin() + 40, m.end());
  const std::vector<uint8_t> want = {0x0A, 0x0B, 0, 0, 0, 14, 0, 0, 0,    0,
                                     0x0C, 0x0D, 0, 3, 0, 1,  0, 6, 0x77, 0x88};
  EXPECT_EQ(attrs, want);
}

TEST(ConnectMessageTest, VersionConnectCarriesRoleOnlyAboveVersionOne) {
  AgentDescription d = twoAttributes();
  d.version = 0x01020304;
  d.roleIndex = 0xBEEF;
  d.loadModuleName = "MOKA_LM";
  d.lmcPath = std::string(256, 'p');  // fills its field to the last byte
  std::vector<uint8_t> m = ConnectMessage::encode(d);
  ASSERT_EQ(m.size(), 318u + 20 + 2);
  EXPECT_EQ(be16(m, 4), 5);
  EXPECT_EQ(m[12], 1);
  EXPECT_EQ(m[15], 4);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(&m[16])), "MOKA");
  EXPECT_EQ(std::string(reinterpret_cast<char*>(&m[36])), "MOKA_LM");
  EXPECT_EQ(m[56], 'p');
  EXPECT_EQ(m[311], 'p');
  EXPECT_EQ(be16(m, 312), 0x0304);
  EXPECT_EQ(be16(m, 314), 0x0102);
  EXPECT_EQ(be16(m, 316), 2);
  EXPECT_EQ(be16(m, 318), 0x0A0B);
  EXPECT_EQ(be16(m, 338), 0xBEEF);

  d.version = 1;
  m = ConnectMessage::encode(d);
  EXPECT_EQ(m.size(), 318u + 20);

  d.attributes.clear();
  d.version = 2;
  EXPECT_EQ(ConnectMessage::encode(d).size(), 320u);
}

TEST(ConnectMessageTest, CountOverrideMakesAShortMessage) {
  AgentDescription d = twoAttributes();
  d.form = AgentDescription::ConnectForm::kInitial;
  d.attributeCount = 5;
  std::vector<uint8_t> m = ConnectMessage::encode(d);
  EXPECT_EQ(m.size(), 60u);   // what is carried
  EXPECT_EQ(be16(m, 36), 5);  // what is claimed
}

}  // namespace
}  // namespace kvn::daxosim
