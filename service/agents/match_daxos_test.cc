#include "service/agents/match_daxos.h"

#include <gtest/gtest.h>

#include "service/agents/daxo_trace_model.h"

namespace kvn {
namespace {

class MatchDaxosTest : public ::testing::Test {
 protected:
  MatchDaxosTest() { DaxoTraceModel::resetAll(); }
  ~MatchDaxosTest() override { DaxoTraceModel::resetAll(); }

  static void agent(uint16_t n, const std::string& instance, uint16_t domain, bool connected = true,
                    uint16_t role = 65535) {
    DaxoRecord& r = DaxoTraceModel::get(n);
    r.bbmHwNumber = n;
    r.instanceName = instance;
    r.domainDaxoIndex = domain;
    r.connected = connected;
    r.roleIndex = role;
  }

  // The match error of `expression`, matched for one agent when `one` is set; "" when none.
  static std::string error(const std::string& expression, bool one = false) {
    try {
      if (one) matchOneDaxo(expression);
      matchDaxos(expression, standardDaxoMatchers());
    } catch (const DaxoMatchError& e) {
      return e.what();
    }
    return "";
  }

  using V = std::vector<uint16_t>;
};

TEST_F(MatchDaxosTest, EveryNameKindNamesTheAgent) {
  agent(1, "MOKA", 1);
  agent(2, "MOKA", 2, true, 3);
  for (const char* name : {"1", "256", "bbEqm000001", "DAXO1", "MOKA/1"})
    EXPECT_EQ(matchDaxos(name, standardDaxoMatchers()), V{1}) << name;
  EXPECT_EQ(matchDaxos("3", {MATCH_ROLE}), V{2});
  EXPECT_EQ(matchDaxos("65535", {MATCH_ROLE}), V{1});
  EXPECT_EQ(error("3"), "No connected DAXO matched");  // roles are not in the standard list
  EXPECT_EQ(daxoMatcherName(MATCH_INSTANCE, 4), "NO INSTANCE NAME");
}

TEST_F(MatchDaxosTest, WildcardsAndTheModulePrefix) {
  agent(1, "MOKA", 1);
  agent(2, "MOKA", 2);
  agent(4, "ZETA", 1);
  EXPECT_EQ(matchDaxos("*", standardDaxoMatchers()), (V{1, 2, 4}));
  EXPECT_EQ(matchDaxos("MOKA", standardDaxoMatchers()), (V{1, 2}));
  EXPECT_EQ(matchDaxos("MO*", standardDaxoMatchers()), (V{1, 2}));
  EXPECT_EQ(matchDaxos("MOKA/2", standardDaxoMatchers()), V{2});
  EXPECT_EQ(error("01"), "No connected DAXO matched");
  EXPECT_EQ(error("MOKA/3"), "No connected DAXO matched");
}

TEST_F(MatchDaxosTest, AnAgentIsNamedOnceAndGoneAgentsDropOut) {
  agent(1, "1", 1);  // "1" and "1/1" both name it
  agent(2, "MOKA", 1, false);
  agent(3, "MOKA", 2);
  EXPECT_EQ(matchDaxos("1", standardDaxoMatchers()), V{1});
  EXPECT_EQ(matchDaxos("MOKA", standardDaxoMatchers()), V{3});
  EXPECT_EQ(error("2"), "No connected DAXO matched");
  EXPECT_EQ(matchOneDaxo("MOKA"), 3);
}

TEST_F(MatchDaxosTest, OneAgentWantedNoneOrSeveralFound) {
  EXPECT_EQ(error("*"), "No connected DAXO matched");
  agent(1, "MOKA", 1);
  agent(2, "MOKA", 2);
  EXPECT_EQ(matchOneDaxo("DAXO2"), 2);
  EXPECT_EQ(error("MOKA", true), "More than one DAXO matched");
  // The error reaches the command layer as a parser error.
  EXPECT_THROW(matchOneDaxo("7"), CmdParserError);
}

}  // namespace
}  // namespace kvn
