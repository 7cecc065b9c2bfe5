#include "service/measurements/cm_pool_usage_text.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

namespace kvn {
namespace {

KvnCmPoolUsageCfmS confirm(uint16_t nrOfBlocks) {
  KvnCmPoolUsageCfmS cfm{};
  cfm.allocatedWords = 70000;
  cfm.totalWords = 4000000000u;
  cfm.nrOfBlocks = nrOfBlocks;
  for (uint16_t i = 0; i < KvnCmPoolUsageCfmS::kBlocks; ++i)
    cfm.blocks[i] = {static_cast<uint16_t>(8 << (i % 8)), static_cast<uint16_t>(100 + i),
                     static_cast<uint16_t>(i), 65535};
  return cfm;
}

std::string text(const KvnCmPoolUsageCfmS& cfm, bool json) {
  std::ostringstream out;
  writeCmPoolUsage(out, 3, cfm, json);
  return out.str();
}

TEST(CmPoolUsageTextTest, JsonKeepsItsKeysAndSpacingAndParses) {
  const std::string two = text(confirm(2), true);
  EXPECT_EQ(two,
            "{\"daxoId\" : 3,\"allocatedCmPoolSizeInWord\" : 70000,\"totalCmPoolSizeInWord\" : "
            "4000000000,\"blockDetails\": [\n"
            "{\"AllocatedNumberOfBlocks\": 0,\"TotalNumberOfBlocks\": 100,\"BlockSizeInWords\" : "
            "8,\"MaximumAllocatedNumberOfBlocks\": 65535},\n"
            "{\"AllocatedNumberOfBlocks\": 1,\"TotalNumberOfBlocks\": 101,\"BlockSizeInWords\" : "
            "16,\"MaximumAllocatedNumberOfBlocks\": 65535}]}\n");
  EXPECT_EQ(nlohmann::json::parse(two)["blockDetails"][1]["BlockSizeInWords"], 16);
  EXPECT_EQ(text(confirm(0), true),
            "{\"daxoId\" : 3,\"allocatedCmPoolSizeInWord\" : 70000,\"totalCmPoolSizeInWord\" : "
            "4000000000,\"blockDetails\": []}\n");
  // A count beyond the sixteen entries of the message stops at sixteen.
  EXPECT_EQ(nlohmann::json::parse(text(confirm(40000), true))["blockDetails"].size(), 16u);
}

TEST(CmPoolUsageTextTest, TextNumbersTheBlocksFromZero) {
  EXPECT_EQ(text(confirm(1), false),
            "Cm pool allocation for DAXO 3\n"
            "Allocated Cm Pool: 70000 words\n"
            "Total Cm Pool Size : 4000000000 words\n"
            "Detail:\n"
            "CM Block Number: 0\n"
            "Allocated number of blocks: 0\n"
            "Total number of blocks: 100\n"
            "Block size : 8 words\n"
            "Maximum allocated number of blocks: 65535\n");
  const std::string all = text(confirm(17), false);
  EXPECT_NE(all.find("CM Block Number: 15\n"), std::string::npos);
  EXPECT_EQ(all.find("CM Block Number: 16\n"), std::string::npos);
}

}  // namespace
}  // namespace kvn
