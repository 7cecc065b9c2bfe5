#include "service/agents/info_cmd_session.h"

#include <gtest/gtest.h>

#include "service/agents/daxo_trace_model.h"
#include "service/agents/info_cmd_parser.h"
#include "util/cmd/output_cmd_session.h"

namespace kvn {
namespace {

class InfoCmdSessionTest : public ::testing::Test {
 protected:
  InfoCmdSessionTest() { DaxoTraceModel::resetAll(); }
  ~InfoCmdSessionTest() override { DaxoTraceModel::resetAll(); }

  static DaxoRecord& agent(uint16_t n, const std::string& name, bool valid = true) {
    DaxoRecord& r = DaxoTraceModel::get(n);
    r.bbmHwNumber = n;
    r.instanceName = name;
    r.domainDaxoIndex = n;
    r.connected = true;
    r.modelValid = valid;
    return r;
  }

  static std::string render(bool verbose) { return InfoCmdSession(verbose).render(); }

  static constexpr const char* kHeader =
      "Instance name        Physical daxo id     Domain daxo index     Role index\n";
};

TEST_F(InfoCmdSessionTest, NothingConnected) {
  agent(1, "GONE").connected = false;  // a full record of an agent that went
  EXPECT_EQ(render(false), "There is no daxo connected.\n");
}

TEST_F(InfoCmdSessionTest, OneHeaderAboveTheRowsAndInvalidModelsOnTheirOwnLine) {
  agent(1, "BROKEN", false);
  agent(2, "MOKA").roleIndex = 3;
  agent(4, "A_NAME_LONGER_THAN_21");
  EXPECT_EQ(render(false), std::string("   Connected but invalid model for daxo 1\n") + kHeader +
                               "MOKA                 2                    2                     "
                               "3         \n"
                               "A_NAME_LONGER_THAN_214                    4                     "
                               "65535     \n");
}

TEST_F(InfoCmdSessionTest, VerboseListsDeploymentUnderAHeaderForEachAgent) {
  DaxoRecord& r = agent(1, "MOKA");
  r.links[1][6] = {true, true, 2, 20, nullptr};
  r.links[3][12] = {true, false, 0, 21, nullptr};
  r.links[5][16] = {true, false, 1, 22, nullptr};
  r.embuf.superTraceRoutine = 10;
  r.embuf.bufferRoutine = 11;  // not listed
  r.traceObjectManager.id = 40;
  r.sig2emManager.id = 44;
  r.dspLoad.id = 31;  // not listed
  agent(2, "ZETA");
  const std::string agent1 = std::string(kHeader) +
                             "MOKA                 1                    1                     "
                             "65535     \n"
                             "\n   Deployed forwarders:\n"
                             "      TOKEN -> TN (Id: 20) [2] *\n"
                             "      LPP_TRACE -> LOGSERVER (Id: 21)\n"
                             "      UNKNOWN -> UNKNOWN (Id: 22) [1]\n"
                             "\n   Deployed extras:\n"
                             "      embuf (Id: 10)\n"
                             "         size 200 MiB\n"
                             "      traceObjectManager (Id: 40)\n"
                             "      sig2emManager (Id: 44)\n"
                             "\n";
  const std::string agent2 = std::string(kHeader) +
                             "ZETA                 2                    2                     "
                             "65535     \n"
                             "\n   Deployed forwarders:\n"
                             "\n   Deployed extras:\n"
                             "\n";
  EXPECT_EQ(render(true), agent1 + agent2);
}

TEST_F(InfoCmdSessionTest, ParserOptions) {
  InfoCmdParser parser;
  auto help = std::dynamic_pointer_cast<OutputCmdSession>(parser.parse({"--help"}));
  ASSERT_TRUE(help);
  EXPECT_EQ(help->getResult(), 0);
  EXPECT_NE(help->getText().find("   Add verbose flag for information about deployment.\n"),
            std::string::npos);
  EXPECT_NE(help->getText().find("   info [--verbose]\n"), std::string::npos);
  auto bad = std::dynamic_pointer_cast<OutputCmdSession>(parser.parse({"--bad"}));
  ASSERT_TRUE(bad);
  EXPECT_EQ(bad->getResult(), 1);
  EXPECT_TRUE(std::dynamic_pointer_cast<InfoCmdSession>(parser.parse({"-v", "ignored"})));
  EXPECT_TRUE(std::dynamic_pointer_cast<InfoCmdSession>(parser.parse({})));
}

}  // namespace
}  // namespace kvn
