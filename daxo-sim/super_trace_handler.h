#pragma once
// The agent's SuperTrace routine (IMPLEMENTS 4): runs the producers, which fill the simulated
// buffer from the sources of their `sourceMask`, and the consumer, which drains it. While the
// consumer runs (a stream) it tells routine 3 of the service when the buffer has filled
// ("KVN_SUPERTRACE_BUFFER_FULL_IND") and, once the producers are stopped, when it has drained
// ("KVN_SUPERTRACE_BUFFER_EMPTY_IND"). Stops are confirmed after the description's delay.

#include <stdint.h>

#include <chrono>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "daxo-sim/agent_handler.h"
#include "daxo-sim/simulated_buffer.h"
#include "daxo-sim/super_trace_settings.h"
#include "daxo-sim/trace_record_writer.h"
#include "service/signals/daxo_connect_signals.h"
#include "sim/journal.h"

namespace kvn::daxosim {

class SuperTraceHandler : public AgentHandler {
 public:
  static constexpr uint16_t kImplementsCode = kImplementsEmbuf;
  static constexpr uint16_t kServiceRoutine = 3;

  using Clock = std::chrono::steady_clock;
  // Words taken from the buffer by the consumer, to be sent on, and the records among them.
  using OnConsumed = std::function<void(uint64_t words, const std::vector<uint8_t>& records)>;

  SuperTraceHandler(SimulatedBuffer& buffer, const SuperTraceSettings& settings,
                    sim::Journal& journal, std::function<Clock::time_point()> now = Clock::now);

  void handle(const Request& request, const ReplyPath& reply, nlohmann::json& entry) override;

  // Moves the buffer on to the present, sends what is due; gives how many ms until it wants to
  // run again, or -1 when nothing runs and nothing waits.
  long advance();

  void setOnConsumed(OnConsumed onConsumed) { onConsumed_ = std::move(onConsumed); }
  // The producers write records through `writer` rather than counter words.
  void setRecordWriter(TraceRecordWriter* writer) { writer_ = writer; }
  // A `zoth echo` text: written as a record of lpp when lpp is being produced, after what was
  // due before it. Gives whether it was written.
  bool writeText(const std::string& text);
  bool producing() const { return producing_; }
  bool consuming() const { return consuming_; }
  uint16_t sourceMask() const { return sourceMask_; }

 private:
  struct Stop {
    Clock::time_point due;
    ReplyPath reply;
    bool producer;
  };

  void fill(double seconds);
  // False when a record found no room.
  bool fillRecords(double seconds, bool overwrite);
  void indicate(uint16_t submsgno, const char* event);
  void note(nlohmann::json entry);

  SimulatedBuffer& buffer_;
  SuperTraceSettings settings_;
  sim::Journal& journal_;
  std::function<Clock::time_point()> now_;
  Clock::time_point last_;
  OnConsumed onConsumed_;
  TraceRecordWriter* writer_ = nullptr;
  std::vector<uint8_t> scratch_;      // one record, or what the consumer took
  std::optional<ReplyPath> service_;  // routine 3 of the service
  bool producing_ = false;
  bool consuming_ = false;
  uint16_t sourceMask_ = 0;
  bool fullSent_ = false;
  bool drainWatched_ = false;  // the producers stopped: the next empty buffer is reported
  double producedCarry_ = 0;   // fractions of a word, per source
  double consumedCarry_ = 0;
  double recordCarry_ = 0;  // fractions of a record, per source
  std::deque<Stop> stops_;
};

}  // namespace kvn::daxosim
