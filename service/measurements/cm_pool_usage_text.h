#pragma once
// One agent's CM pool usage for the operator, as text or as JSON (one object, one line per
// block). At most the 16 blocks that the confirm carries are written, whatever `nrOfBlocks`
// promises; more is logged.

#include <stdint.h>

#include <ostream>

#include "service/signals/cm_pool_signals.h"

namespace kvn {

void writeCmPoolUsage(std::ostream& out, uint16_t daxo, const KvnCmPoolUsageCfmS& cfm, bool json);

}  // namespace kvn
