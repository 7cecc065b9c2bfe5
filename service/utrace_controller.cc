#include "service/utrace_controller.h"

#include <map>
#include <stdexcept>
#include <string>
#include <utility>

#include "service/daxo_trace_model.h"
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

}  // namespace kvn
