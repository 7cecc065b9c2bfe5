#include "service/agents/info_cmd_session.h"

#include <iomanip>
#include <sstream>

#include "service/agents/daxo_trace_model.h"
#include "service/agents/forwarder_kind.h"

namespace kvn {

namespace {

void extra(std::ostringstream& out, const char* name, uint16_t id) {
  if (id < kDaxoRoutineNotDeployed) out << "      " << name << " (Id: " << id << ")\n";
}

}  // namespace

void InfoCmdSession::start() {
  print(render());
  end(0);
}

std::string InfoCmdSession::render() {
  std::string out;
  for (uint16_t n = 1; n <= DaxoTraceModel::MAX_DAXO_NUMBER; ++n) {
    const DaxoRecord& r = DaxoTraceModel::get(n);
    if (r.connected && r.modelValid) {
      printAgent(out, n);
    } else if (r.connected) {
      anyRowPrinted = true;
      out += "   Connected but invalid model for daxo " + std::to_string(n) + "\n";
    }
  }
  if (!anyRowPrinted) out += "There is no daxo connected.\n";
  return out;
}

void InfoCmdSession::printAgent(std::string& text, uint16_t n) {
  const DaxoRecord& r = DaxoTraceModel::get(n);
  std::ostringstream out;
  out << std::left;
  if (!headerPrinted || verbose) {
    anyRowPrinted = true;
    headerPrinted = true;
    out << std::setw(21) << "Instance name" << std::setw(21) << "Physical daxo id" << std::setw(22)
        << "Domain daxo index" << std::setw(10) << "Role index\n";
  }
  out << std::setw(21) << r.instanceName << std::setw(21) << r.bbmHwNumber << std::setw(22)
      << r.domainDaxoIndex << std::setw(10) << r.roleIndex << "\n";
  if (verbose) {
    out << "\n   Deployed forwarders:\n";
    for (uint16_t src = 0; src < kForwarderKindCount; ++src) {
      for (uint16_t dst = 0; dst < kForwarderKindCount; ++dst) {
        const ForwarderLink& link = r.links[src][dst];
        if (!link.deployed) continue;
        out << "      " << forwarderKindName(src) << " -> " << forwarderKindName(dst)
            << " (Id: " << link.id << ")";
        if (link.linkCount != 0) out << " [" << link.linkCount << "]";
        if (link.attached) out << " *";
        out << "\n";
      }
    }
    out << "\n   Deployed extras:\n";
    if (r.embuf.superTraceRoutine < kDaxoRoutineNotDeployed) {
      out << "      embuf (Id: " << r.embuf.superTraceRoutine << ")\n";
      out << "         size " << r.embuf.sizeBytes / 1048576 << " MiB\n";
    }
    extra(out, "rttManager", r.rttManager.id);
    extra(out, "traceHitCounter", r.traceHitCounter.id);
    extra(out, "traceObjectManager", r.traceObjectManager.id);
    extra(out, "traceDest", r.traceDest.id);
    extra(out, "uniqueTraceManager", r.uniqueTraceManager.id);
    extra(out, "sig2emManager", r.sig2emManager.id);
    out << "\n";
  }
  text += out.str();
}

}  // namespace kvn
