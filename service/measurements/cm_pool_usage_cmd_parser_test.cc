#include "service/measurements/cm_pool_usage_cmd_parser.h"

#include <gtest/gtest.h>

#include "service/agents/daxo_match_error.h"
#include "service/measurements/measurement_test_fixture.h"

namespace kvn::testing {
namespace {

class CmPoolUsageCmdParserTest : public testing::MeasurementTestFixture {
 protected:
  CmPoolUsageCmdParser parser;
};

TEST_F(CmPoolUsageCmdParserTest, AsksTheAgentAndPrintsItsAnswerAsJson) {
  addMeasuringAgent(1);
  addAgent(2, Agent{});
  EXPECT_EQ(command(parser, {"-s", "1", "extra"}).text, "Error - Too many parameters\n\n");
  EXPECT_EQ(command(parser, {"-s", "2"}).text, "CmPoolUsage not deployed on daxo 2\n\n");
  EXPECT_THROW(parser.parse({"--json"}), DaxoMatchError) << "no -s names no agent";

  DaxoTraceModel::get(1).cmPool.measuring = true;  // nothing in the service sets it
  EXPECT_EQ(command(parser, {"-s", "1"}).text, "Already measuring cm pool usage on daxo 1\n");
  DaxoTraceModel::get(1).cmPool.measuring = false;

  command(parser, {"--json", "-s", "MOKA/1"});
  const auto req = expectRequest(1);
  EXPECT_EQ(req.dstRoutineId, kMeasurementRoutine);
  EXPECT_EQ(req.submsgno, 7);
  EXPECT_EQ(req.size, 12u);
  std::vector<uint8_t> body;
  for (uint32_t v : {10, 20}) put32(body, v);         // allocated, total
  for (uint16_t v : {1, 8, 4, 2, 3}) put16(body, v);  // one block
  body.resize(150 - 12);
  const Answer done = reply(1, req, 8, body);
  EXPECT_EQ(done.text,
            "{\"daxoId\" : 1,\"allocatedCmPoolSizeInWord\" : 10,\"totalCmPoolSizeInWord\" : "
            "20,\"blockDetails\": [\n{\"AllocatedNumberOfBlocks\": 2,\"TotalNumberOfBlocks\": "
            "4,\"BlockSizeInWords\" : 8,\"MaximumAllocatedNumberOfBlocks\": 3}]}\n");
  EXPECT_EQ(done.result, 0);
}

}  // namespace
}  // namespace kvn::testing
