#include "service/datapath/recorder_status_cmd_session.h"

#include <iomanip>
#include <memory>
#include <sstream>

#include "service/agents/daxo_trace_model.h"
#include "service/datapath/recorder_time.h"
#include "service/datapath/super_trace.h"
#include "service/datapath/super_trace_buffer_index.h"
#include "service/datapath/super_trace_run.h"
#include "service/datapath/super_trace_status.h"

namespace kvn {

namespace {

const char* const kHead1 =
    "              Average DMA        Peak DMA           Average trace  Peak trace    Average     "
    "                                Data          Data        Total num\n";
const char* const kHead2 =
    "  Agent       interrupts [#/ms]  interrupts [#/ms]  load [KiB/s]   load [KiB/s]  DMA size "
    "[KiB]  Data start time [UTC]       duration [s]  size [MiB]  errors\n";

struct Row {
  const char* label;  // null: the agent's name
  std::vector<uint16_t> sources;
};
const Row kRows[] = {
    {nullptr, {0, 1, 2, 3, 4}}, {"  lpp", {4}}, {"  rtt", {1, 2, 3}}, {"  token", {0}}};

}  // namespace

std::string RecorderStatusCmdSession::table(uint16_t agent, const SuperTraceBufferIndex& index,
                                            bool recording, bool streaming) {
  const std::string name = "bbEqm00000" + std::to_string(agent);
  std::ostringstream out;
  out << "\n" << kHead1 << kHead2 << std::string(160, '-');
  out << std::fixed;
  for (const Row& row : kRows) {
    const SuperTraceBufferIndex::Blocks blocks = index.select(row.sources);
    out << "\n " << std::left << std::setw(14) << (row.label ? row.label : name.c_str())
        << std::right << std::setprecision(1) << std::setw(16) << index.averageInterruptRate(blocks)
        << std::setw(19) << index.peakInterruptRate(blocks) << std::setw(15)
        << index.averageLoad(blocks) << std::setw(14) << index.peakLoad(blocks)
        << std::setprecision(3) << std::setw(16) << index.averageDmaSize(blocks) << std::setw(28)
        << formatTimestamp(index.dataStart(blocks)) << std::setprecision(2) << std::setw(14)
        << index.dataDuration(blocks) / 1e6 << std::setw(12) << index.dataSizeMiB(blocks)
        << std::setw(11) << index.errorCount(blocks);
  }
  out << "\n";
  if (recording) out << "Note: Agent " << name << " is currently recording.\n";
  if (streaming)
    out << "Note: Agent " << name
        << " is currently in streaming mode. The printed data above is quite irrelevant.\n";
  return out.str();
}

void RecorderStatusCmdSession::start() {
  status_ = std::make_shared<SuperTraceStatus>(
      agents, [this](bool failed, const std::string& text) { fetched(failed, text); });
  run(status_);
}

void RecorderStatusCmdSession::fetched(bool failed, const std::string& text) {
  if (failed) {
    print(text);
    end(1);
    return;
  }
  std::string out;
  for (uint16_t agent : agents) {
    const DaxoRecord& r = DaxoTraceModel::get(agent);
    const bool recording = r.embuf.superTraceAction && r.embuf.superTraceAction->isActive();
    out += table(agent, *status_->getIndexes().at(agent), recording, SuperTrace::isStreaming(r));
  }
  print(out);
  end(0);
}

}  // namespace kvn
