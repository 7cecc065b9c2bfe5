#include "service/measurements/cm_pool_usage_text.h"

#include "tracing/log.h"

namespace kvn {

namespace {

// The fields are printed as numbers, never as characters.
unsigned u(uint16_t v) { return v; }

}  // namespace

void writeCmPoolUsage(std::ostream& out, uint16_t daxo, const KvnCmPoolUsageCfmS& cfm, bool json) {
  size_t blocks = cfm.nrOfBlocks;
  if (blocks > KvnCmPoolUsageCfmS::kBlocks) {
    TC_LOG_ERROR("CM pool confirm of daxo %u promises %zu blocks; it holds %zu",
                 static_cast<unsigned>(daxo), blocks, KvnCmPoolUsageCfmS::kBlocks);
    blocks = KvnCmPoolUsageCfmS::kBlocks;
  }
  if (json) {
    out << "{\"daxoId\" : " << daxo << ","
        << "\"allocatedCmPoolSizeInWord\" : " << cfm.allocatedWords << ","
        << "\"totalCmPoolSizeInWord\" : " << cfm.totalWords << ",\"blockDetails\": [";
    for (size_t i = 0; i < blocks; ++i) {
      const KvnCmPoolBlockS& b = cfm.blocks[i];
      if (i > 0) out << ",";
      out << "\n{\"AllocatedNumberOfBlocks\": " << u(b.allocatedNumberOfBlocks)
          << ",\"TotalNumberOfBlocks\": " << u(b.totalNumberOfBlocks)
          << ",\"BlockSizeInWords\" : " << u(b.blockSizeInWords)
          << ",\"MaximumAllocatedNumberOfBlocks\": " << u(b.maximumAllocatedNumberOfBlocks) << "}";
    }
    out << "]}"
        << "\n";
    return;
  }
  out << "Cm pool allocation for DAXO " << daxo << "\n"
      << "Allocated Cm Pool: " << cfm.allocatedWords << " words"
      << "\n"
      << "Total Cm Pool Size : " << cfm.totalWords << " words"
      << "\n"
      << "Detail:"
      << "\n";
  for (size_t i = 0; i < blocks; ++i) {
    const KvnCmPoolBlockS& b = cfm.blocks[i];
    out << "CM Block Number: " << i << "\n"
        << "Allocated number of blocks: " << u(b.allocatedNumberOfBlocks) << "\n"
        << "Total number of blocks: " << u(b.totalNumberOfBlocks) << "\n"
        << "Block size : " << u(b.blockSizeInWords) << " words"
        << "\n"
        << "Maximum allocated number of blocks: " << u(b.maximumAllocatedNumberOfBlocks) << "\n";
  }
}

}  // namespace kvn
