#include "service/agents/daxo_matcher.h"

#include "service/agents/daxo_trace_model.h"

namespace kvn {

std::string daxoMatcherName(int matcher, uint16_t n) {
  switch (matcher) {
    case MATCH_NUMBER:
      return std::to_string(n);
    case MATCH_ADDRESS:
      return std::to_string(static_cast<unsigned>(n) << 8);
    case MATCH_EQUIPMENT:
      return "bbEqm00000" + std::to_string(n);
    case MATCH_DAXO:
      return "DAXO" + std::to_string(n);
    case MATCH_ROLE:
      return std::to_string(DaxoTraceModel::get(n).roleIndex);
    case MATCH_INSTANCE: {
      const DaxoRecord& r = DaxoTraceModel::get(n);
      if (r.instanceName.empty()) return "NO INSTANCE NAME";
      return r.instanceName + "/" + std::to_string(r.domainDaxoIndex);
    }
    default:
      return "INVALID_ENUM_MATCHER";
  }
}

}  // namespace kvn
