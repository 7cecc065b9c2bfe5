#include "daxo-sim/super_trace_handler.h"

#include <sys/time.h>

#include <cmath>

#include <nlohmann/json.hpp>

#include "base/big_endian.h"

namespace kvn::daxosim {

namespace {

enum : uint16_t {
  kConsumerStartInd = 0,
  kConsumerStopReq = 1,
  kConsumerStopCfm = 2,
  kProducerStartInd = 3,
  kProducerStopReq = 4,
  kProducerStopCfm = 5,
  kBufferFullInd = 8,
  kBufferEmptyInd = 9,
};

// A rate times a time is a whole number of words more often than binary fractions show.
constexpr double kRounding = 1e-6;

SimulatedBuffer::Time wallTime(uint64_t sinceStartUs) {
  timeval tv;
  gettimeofday(&tv, nullptr);
  SimulatedBuffer::Time t;
  t.seconds = static_cast<uint32_t>(tv.tv_sec);
  t.microseconds = static_cast<uint32_t>(tv.tv_usec);
  // The frame number of the radio clock: 15.36 MHz ticks, 153600 to a frame of 10 ms, in 150
  // sub-frames of 1024 ticks, each 256 chips of four; 4096 frames, then it wraps.
  const uint64_t ticks = sinceStartUs * 1536 / 100;
  const uint64_t inFrame = ticks % 153600;
  t.bfn = static_cast<uint32_t>((ticks / 153600 % 4096) << 20 | (inFrame / 1024) << 12 |
                                (inFrame % 1024 / 4) << 4 | inFrame % 4);
  return t;
}

uint64_t sinceStartUs(SuperTraceHandler::Clock::time_point t) {
  return static_cast<uint64_t>(
      std::chrono::duration_cast<std::chrono::microseconds>(t.time_since_epoch()).count());
}

constexpr uint8_t kLpp = 4;

}  // namespace

SuperTraceHandler::SuperTraceHandler(SimulatedBuffer& buffer, const SuperTraceSettings& settings,
                                     sim::Journal& journal, std::function<Clock::time_point()> now)
    : buffer_(buffer),
      settings_(settings),
      journal_(journal),
      now_(std::move(now)),
      last_(now_()) {}

void SuperTraceHandler::handle(const Request& request, const ReplyPath& reply,
                               nlohmann::json& entry) {
  advance();
  service_ = reply.toRoutine(kServiceRoutine);
  switch (request.submsgno) {
    case kConsumerStartInd:
      consuming_ = true;
      entry["consumer"] = "started";
      return;
    case kProducerStartInd:
      if (request.bodySize < 2) throw std::runtime_error("producer start without a source mask");
      sourceMask_ = loadBe16(request.body);
      producing_ = true;
      fullSent_ = false;
      drainWatched_ = false;
      entry["sourceMask"] = sourceMask_;
      entry["producers"] = "started";
      return;
    case kConsumerStopReq:
    case kProducerStopReq: {
      const bool producer = request.submsgno == kProducerStopReq;
      stops_.push_back(
          {now_() + std::chrono::milliseconds(settings_.stopDelayMs), reply, producer});
      // Confirmed by the next advance, which the main loop makes before it waits again.
      entry["confirm"] = settings_.stopDelayMs == 0 ? "due" : "delayed";
      return;
    }
    default:
      entry["answered"] = false;
      return;
  }
}

long SuperTraceHandler::advance() {
  const Clock::time_point now = now_();
  // A stop takes effect when it is confirmed; the buffer moves up to that moment first.
  while (!stops_.empty() && stops_.front().due <= now) {
    const Stop stop = stops_.front();
    stops_.pop_front();
    fill(std::chrono::duration<double>(stop.due - last_).count());
    last_ = std::max(last_, stop.due);
    if (stop.producer) {
      producing_ = false;
      drainWatched_ = consuming_;
    } else {
      consuming_ = false;
    }
    stop.reply.send(stop.producer ? kProducerStopCfm : kConsumerStopCfm, {});
    note({{"event", stop.producer ? "producers_stopped" : "consumer_stopped"},
          {"level", buffer_.level()}});
  }
  fill(std::chrono::duration<double>(now - last_).count());
  last_ = std::max(last_, now);
  if (producing_ || consuming_) return settings_.tickMs;
  if (stops_.empty()) return -1;
  const auto left =
      std::chrono::duration_cast<std::chrono::milliseconds>(stops_.front().due - now).count();
  return left < 0 ? 0 : static_cast<long>(left);
}

void SuperTraceHandler::fill(double seconds) {
  if (seconds <= 0) return;
  bool dropped = false;  // a record found no room: the buffer is as full as it gets
  if (producing_ && writer_) {
    dropped = !fillRecords(seconds, !consuming_);
  } else if (producing_) {
    producedCarry_ += settings_.producerRate * seconds;
    const uint64_t words = static_cast<uint64_t>(std::floor(producedCarry_ + kRounding));
    producedCarry_ -= static_cast<double>(words);
    const SimulatedBuffer::Time now = wallTime(sinceStartUs(last_));
    for (uint16_t source = 0; source < SimulatedBuffer::kSources && words > 0; ++source)
      if (sourceMask_ & (1u << source)) buffer_.produce(source, words, now, !consuming_);
  }
  if (producing_) {
    if (consuming_ && (dropped || buffer_.level() >= buffer_.capacity()) && !fullSent_) {
      fullSent_ = true;
      indicate(kBufferFullInd, "buffer_full");
    }
  }
  if (consuming_) {
    consumedCarry_ += settings_.consumerRate * seconds;
    const uint64_t words = static_cast<uint64_t>(std::floor(consumedCarry_ + kRounding));
    consumedCarry_ -= static_cast<double>(words);
    scratch_.clear();
    const uint64_t taken = buffer_.consume(words, writer_ ? &scratch_ : nullptr);
    if (taken > 0 && onConsumed_) onConsumed_(taken, scratch_);
    if (buffer_.level() == 0) consumedCarry_ = 0;  // an empty buffer saves nothing up
    if (drainWatched_ && buffer_.level() == 0) {
      drainWatched_ = false;
      indicate(kBufferEmptyInd, "buffer_empty");
    }
  }
}

bool SuperTraceHandler::fillRecords(double seconds, bool overwrite) {
  recordCarry_ += settings_.recordRate * seconds;
  const uint64_t records = static_cast<uint64_t>(std::floor(recordCarry_ + kRounding));
  recordCarry_ -= static_cast<double>(records);
  const SimulatedBuffer::Time now = wallTime(sinceStartUs(last_));
  bool stored = true;
  for (uint8_t source = 0; source < SimulatedBuffer::kSources; ++source) {
    if (!(sourceMask_ & (1u << source))) continue;
    for (uint64_t i = 0; i < records; ++i) {
      scratch_.clear();
      if (!writer_->next(source, now, scratch_)) break;  // nothing enabled
      stored =
          buffer_.produceRecord(source, scratch_.data(), scratch_.size(), now, overwrite) && stored;
    }
  }
  return stored;
}

bool SuperTraceHandler::writeText(const std::string& text) {
  advance();  // what was due before the text is written first
  if (!writer_ || !producing_ || !(sourceMask_ & (1u << kLpp))) return false;
  const SimulatedBuffer::Time now = wallTime(sinceStartUs(last_));
  scratch_.clear();
  writer_->text(kLpp, text, now, scratch_);
  return buffer_.produceRecord(kLpp, scratch_.data(), scratch_.size(), now, !consuming_);
}

void SuperTraceHandler::indicate(uint16_t submsgno, const char* event) {
  if (!service_) return;
  service_->send(submsgno, {});
  note({{"event", event}, {"level", buffer_.level()}, {"dropped", buffer_.dropped()}});
}

void SuperTraceHandler::note(nlohmann::json entry) { journal_.write(entry); }

}  // namespace kvn::daxosim
