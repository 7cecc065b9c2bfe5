#include "service/agents/forwarder_kind.h"

namespace kvn {

const char* forwarderKindName(uint16_t kind) {
  switch (kind) {
    case FORWARDER_TOKEN:
      return "TOKEN";
    case FORWARDER_RTT:
      return "RTT";
    case FORWARDER_LPP_TRACE:
      return "LPP_TRACE";
    case FORWARDER_EMBUF:
      return "EMBUF";
    case FORWARDER_TN:
      return "TN";
    case FORWARDER_EBCOM:
      return "EBCOM";
    case FORWARDER_LOGSERVER:
      return "LOGSERVER";
    default:
      return "UNKNOWN";
  }
}

}  // namespace kvn
