#include "daxo-sim/measurements_handler.h"

#include <stdexcept>

#include <nlohmann/json.hpp>

#include "base/big_endian.h"

namespace kvn::daxosim {

namespace {

constexpr uint16_t kStartReq = 0, kStartCfm = 1, kStopReq = 2, kStopCfm = 3, kPrintReq = 4,
                   kPrintCfm = 5, kCmPoolReq = 7, kCmPoolCfm = 8;
constexpr size_t kDspEntrySize = 28;

}  // namespace

MeasurementsHandler::MeasurementsHandler(const MeasurementFigures& figures, sim::Journal& journal)
    : figures_(figures), journal_(journal) {}

void MeasurementsHandler::handle(const Request& request, const ReplyPath& reply,
                                 nlohmann::json& entry) {
  switch (request.submsgno) {
    case kStartReq: {
      if (request.bodySize < 4) throw std::runtime_error("DSP load start without a duration");
      const uint32_t durationUs = loadBe32(request.body);
      const Clock::time_point now = Clock::now();
      // A new start replaces a running measurement, as the agent's timer would be restarted.
      running_ = Running{now, now + std::chrono::microseconds(durationUs),
                         reply.toRoutine(kServiceDspLoadRoutine)};
      entry["durationUs"] = durationUs;
      reply.send(kStartCfm, {});
      break;
    }
    case kStopReq:
      if (running_) {
        lastMeasuredUs_ = static_cast<uint32_t>(
            std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - running_->started)
                .count());
        running_.reset();
      }
      entry["measuredUs"] = lastMeasuredUs_;
      reply.send(kStopCfm, {});
      break;
    case kPrintReq: {
      const bool snapshot = request.bodySize > 0 && request.body[0] != 0;
      const uint32_t measuredUs = snapshot ? figures_.snapshotUs : lastMeasuredUs_;
      std::vector<uint8_t> body;
      appendBe16(body, static_cast<uint16_t>(figures_.dsps.size()));
      appendBe32(body, measuredUs);
      for (const MeasurementFigures::Dsp& d : figures_.dsps) {
        appendBe16(body, d.min);
        appendBe16(body, d.max);
        appendBe16(body, d.average);
        for (uint32_t count : d.histogram) appendBe32(body, count);
        appendBe16(body, d.pooled);
      }
      if (figures_.dsps.empty()) body.resize(body.size() + kDspEntrySize, 0);  // room of one
      entry["snapshot"] = snapshot;
      entry["measuredUs"] = measuredUs;
      entry["dsps"] = figures_.dsps.size();
      reply.send(kPrintCfm, body);
      break;
    }
    case kCmPoolReq: {
      std::vector<uint8_t> body;
      appendBe32(body, figures_.allocatedWords);
      appendBe32(body, figures_.totalWords);
      appendBe16(body, static_cast<uint16_t>(figures_.blocks.size()));
      for (const MeasurementFigures::Block& b : figures_.blocks) {
        appendBe16(body, b.blockSizeInWords);
        appendBe16(body, b.totalNumberOfBlocks);
        appendBe16(body, b.allocatedNumberOfBlocks);
        appendBe16(body, b.maximumAllocatedNumberOfBlocks);
      }
      body.resize(10 + 8 * MeasurementFigures::kMaxBlocks, 0);  // all sixteen always travel
      entry["allocatedWords"] = figures_.allocatedWords;
      entry["blocks"] = figures_.blocks.size();
      reply.send(kCmPoolCfm, body);
      break;
    }
    default:
      entry["answered"] = false;
      return;
  }
  entry["confirm"] = "sent";
}

void MeasurementsHandler::sendDue() {
  if (!running_ || Clock::now() < running_->due) return;
  lastMeasuredUs_ = static_cast<uint32_t>(
      std::chrono::duration_cast<std::chrono::microseconds>(running_->due - running_->started)
          .count());
  running_->controller.send(kMeasurementEnded, {});
  nlohmann::json entry;
  entry["event"] = "dspload_ended";
  entry["to"] = running_->controller.peerRoutine();
  entry["src"] = running_->controller.ownRoutine();
  entry["submsgno"] = kMeasurementEnded;
  entry["measuredUs"] = lastMeasuredUs_;
  journal_.write(entry);
  running_.reset();
}

long MeasurementsHandler::msUntilNext() const {
  if (!running_) return -1;
  const auto left =
      std::chrono::duration_cast<std::chrono::milliseconds>(running_->due - Clock::now());
  return left.count() < 0 ? 0 : static_cast<long>(left.count());
}

}  // namespace kvn::daxosim
