#include "daxo-sim/agent_description.h"
#include "util/testing/scratch_dir.h"

#include <tuple>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace kvn::daxosim {
namespace {

using json = nlohmann::json;
using Attr = AgentDescription::Attribute;

TEST(AgentDescriptionTest, RoutinesBecomeAttributesInOrder) {
  json j = json::parse(R"({
    "connect": "version", "version": 2, "roleIndex": 7, "bbmHwNumber": 1,
    "instanceName": "MOKA", "domainDaxoIndex": 1, "loadModuleName": "MOKA_LM",
    "lmcPath": "/opt/moka.lmc",
    "routines": [
      {"routineId": 100, "implements": "traceObjectManager"},
      {"routineId": 101, "implements": 8, "linkCount": 2,
       "link": {"source": "TOKEN", "destination": "TN"}},
      {"routineId": 102, "implements": [4, 9]}
    ],
    "attributes": [{"routineId": 5, "propertyType": 1, "value": [1, 2, 3]}]
  })");
  AgentDescription d = AgentDescription::fromJson(j);
  EXPECT_EQ(std::tie(d.form, d.version, d.roleIndex, d.instanceName, d.loadModuleName, d.lmcPath),
            std::make_tuple(AgentDescription::ConnectForm::kVersion, 2u, 7, "MOKA", "MOKA_LM",
                            "/opt/moka.lmc"));
  const std::vector<Attr> want = {{100, 0, {14, 0, 0}}, {101, 0, {8, 0, 0}}, {101, 2, {2, 0, 0}},
                                  {101, 3, {1, 6, 0}},  {102, 0, {4, 0, 0}}, {102, 0, {9, 0, 0}},
                                  {5, 1, {1, 2, 3}}};
  EXPECT_EQ(d.attributes, want);
  EXPECT_EQ(d.implementsCodeOf(100), 14);
  EXPECT_EQ(d.implementsCodeOf(102), 9);  // the later of two wins
  EXPECT_FALSE(d.implementsCodeOf(5).has_value());
  EXPECT_FALSE(d.attributeCount.has_value());
}

TEST(AgentDescriptionTest, InitialConnectDefaultsAndRefusesVersionFields) {
  AgentDescription d = AgentDescription::fromJson(
      json::parse(R"({"connect": "initial", "bbmHwNumber": 3, "instanceName": "X"})"));
  EXPECT_EQ(d.form, AgentDescription::ConnectForm::kInitial);
  EXPECT_EQ(d.bbmHwNumber, 3);
  EXPECT_EQ(d.roleIndex, 65535);
  EXPECT_TRUE(d.attributes.empty());
  EXPECT_THROW(AgentDescription::fromJson(
                   json::parse(R"({"connect": "initial", "bbmHwNumber": 3, "lmcPath": "/x"})")),
               AgentDescription::Error);
}

TEST(AgentDescriptionTest, BadInputNamesTheField) {
  const char* bad[] = {
      R"({"instanceName": "X"})",                                        // no number
      R"({"bbmHwNumber": 70000})",                                       // not a u16
      R"({"bbmHwNumber": -1})",                                          // negative
      R"({"bbmHwNumber": 1, "connect": "later"})",                       // unknown form
      R"({"bbmHwNumber": 1, "instanceName": "ABCDEFGHIJKLMNOPQRSTU"})",  // 21 characters
      R"({"bbmHwNumber": 1, "routines": [{"implements": 14}]})",         // no routine id
      R"({"bbmHwNumber": 1, "routines": [{"routineId": 1, "implement": 14}]})",
      R"({"bbmHwNumber": 1, "routines": [{"routineId": 1, "implements": "nothing"}]})",
      R"({"bbmHwNumber": 1, "routines": [{"routineId": 1, "link": {"source": "TN"}}]})",
      R"({"bbmHwNumber": 1, "attributes": [{"routineId": 1, "propertyType": 0,
          "value": [1, 2, 3, 4]}]})",
      R"([1, 2])",
  };
  for (const char* text : bad)
    EXPECT_THROW(AgentDescription::fromJson(json::parse(text)), AgentDescription::Error) << text;
  try {
    AgentDescription::fromJson(json::parse(R"({"bbmHwNumber": 1, "domainDaxoIndex": "2"})"));
    FAIL();
  } catch (const AgentDescription::Error& e) {
    EXPECT_NE(std::string(e.what()).find("domainDaxoIndex"), std::string::npos) << e.what();
  }
}

TEST(AgentDescriptionTest, FileResolvesRelativeContainerPathAndAllowsShortCount) {
  const kvn::testing::ScratchDir scratch;
  const std::string& dir = scratch.path();
  const std::string path = scratch.write(
      "agent.json", R"({"bbmHwNumber": 2, "lmcPath": "moka.lmc", "attributeCount": 9})");
  AgentDescription d = AgentDescription::fromFile(path);
  EXPECT_EQ(d.lmcPath, dir + "/moka.lmc");
  EXPECT_EQ(d.attributeCount, 9);

  scratch.write("agent.json", "{ not json");
  EXPECT_THROW(AgentDescription::fromFile(path), AgentDescription::Error);
  EXPECT_THROW(AgentDescription::fromFile(dir + "/absent.json"), AgentDescription::Error);
}

}  // namespace
}  // namespace kvn::daxosim
