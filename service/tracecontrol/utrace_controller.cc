#include "service/tracecontrol/utrace_controller.h"

#include <algorithm>
#include <iomanip>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

#include "service/agents/daxo_trace_model.h"
#include "tracetables/trace_lmc_reader_interface.h"
#include "tracing/log.h"

namespace kvn {

UTraceController::UTraceController(uint16_t bbmHwNumber,
                                   std::shared_ptr<kvntrace::TraceLmcReaderInterface> reader)
    : bbmHwNumber_(bbmHwNumber), reader_(std::move(reader)) {}

UTraceController::~UTraceController() = default;

void UTraceController::load() {
  DaxoRecord& record = DaxoTraceModel::get(bbmHwNumber_);
  if (!reader_) return;
  const std::vector<std::string> meta = reader_->getUtraceMeta(record.loadModuleName);
  std::vector<UtracePoint> points;
  std::map<uint16_t, size_t> index;
  std::vector<uint16_t> defaults;
  try {
    for (const std::string& s : meta) {
      const size_t first = s.find(',');
      const size_t second = first == std::string::npos ? std::string::npos : s.find(',', first + 1);
      const std::string name = s.substr(0, first);
      const std::string idText =
          first == std::string::npos ? "" : s.substr(first + 1, second - first - 1);
      const std::string defText = second == std::string::npos ? "" : s.substr(second + 1);
      const uint16_t id = static_cast<uint16_t>(std::stoi(idText));
      const int def = std::stoi(defText);
      index[id] = points.size();
      points.push_back({name, id, def != 0, def != 0});
      defaults.push_back(static_cast<uint16_t>(def));
    }
  } catch (const std::logic_error& e) {
    TC_LOG_ERROR("Exception '%s' when converting UTrace strings to integers", e.what());
    return;
  }
  record.uTracePoints = std::move(points);
  record.uTraceIndex = std::move(index);
  defaults_ = std::move(defaults);
}

std::string UTraceController::statusList(const std::vector<UtracePoint>& points) {
  std::vector<const UtracePoint*> enabled;
  for (const UtracePoint& p : points)
    if (p.enabled) enabled.push_back(&p);
  std::sort(enabled.begin(), enabled.end(),
            [](const UtracePoint* a, const UtracePoint* b) { return a->name < b->name; });
  std::ostringstream out;
  out << std::left;
  std::string lastPrefix;
  int count = 0;
  for (const UtracePoint* p : enabled) {
    const size_t dot = p->name.rfind('.');
    const std::string prefix = dot == std::string::npos ? p->name : p->name.substr(0, dot);
    const std::string suffix = dot == std::string::npos ? "" : p->name.substr(dot + 1);
    if (prefix != lastPrefix) {
      out << "\n" << std::setw(38) << prefix;
      lastPrefix = prefix;
      count = 1;
    } else if (++count > 9) {
      out << "\n" << std::setw(38) << "";
      count = 1;
    }
    out << std::setw(4) << suffix << " ";
  }
  out << "\n";
  return out.str();
}

}  // namespace kvn
