#pragma once
// `recorder dump <daxo id>:<source>`: fetches the agent's buffer index, picks the blocks of the
// sources that reach into the time window, and passes their data to the front end in chunks of
// at most 1024 words. At most four requests are out at a time, and each chunk the front end
// confirms lets one more go: the front end sets the pace. Confirms that overtake each other wait
// in a queue so that the chunks go out in the order they were asked for. With lpp among the
// sources the marker "LPP\n" goes first.

#include <stddef.h>
#include <stdint.h>

#include <map>
#include <memory>
#include <queue>
#include <string>
#include <vector>

#include "service/datapath/super_trace_buffer_index.h"
#include "util/cmd/cmd_session.h"
#include "util/mainloop/event_id.h"

namespace kvn {

class SuperTraceStatus;

class RecorderDumpCmdSession : public CmdSession {
 public:
  static constexpr uint32_t kMaxRequestWords = 1024;
  static constexpr uint32_t kWindow = 4;

  enum State { kMarker, kFetchingIndex, kFetchingBlocks, kDone };

  // `intervalStart` and `duration` in microseconds, -1 when not given.
  RecorderDumpCmdSession(uint16_t daxo, bool base64, std::vector<uint16_t> sources,
                         int64_t intervalStart, int64_t duration);

  void start() override;
  void handleEvent(kvntrace::EventId event) override;

  State state() const { return state_; }
  const std::vector<uint16_t>& selectedBlocks() const { return blocks; }
  SuperTraceBufferIndex::Window window() const { return {windowStart, windowEnd}; }

 private:
  // A confirm that waits for its turn; `order` counts requests from 1 and does not wrap.
  struct Chunk {
    uint32_t order;
    uint16_t blockId;
    uint32_t offset;
    std::vector<char> data;
  };
  struct Later {
    bool operator()(const Chunk& a, const Chunk& b) const { return a.order > b.order; }
  };
  struct Asked {
    uint16_t blockId;
    uint32_t offset;
    uint32_t length;
  };

  void fetchIndex();
  void indexFetched(bool failed, const std::string& text);
  void request();
  void send(uint32_t order);
  void confirmed(uint32_t order, const void* msg, size_t msgsize);
  void printNext(uint32_t order, uint16_t blockId, uint32_t offset, const char* data, size_t bytes);
  void printed(uint32_t order);
  void finish(uint8_t result);

  uint16_t daxo;
  uint16_t base64;
  std::vector<uint16_t> sources;
  int64_t intervalStart;
  int64_t duration;
  int64_t windowStart = 0;
  int64_t windowEnd = 0;
  std::shared_ptr<SuperTraceBufferIndex> index;
  std::vector<uint16_t> blocks;
  size_t blockPos = 0;
  uint32_t offset = 0;
  // Requests sent and chunks printed so far; the sequence numbers on the wire are these cut to
  // 16 bits, which a long dump wraps.
  uint32_t requestedSeq = 0;
  uint32_t printedSeq = 0;
  std::priority_queue<Chunk, std::vector<Chunk>, Later> pendingData;
  std::shared_ptr<SuperTraceStatus> status;

  State state_ = kMarker;
  std::map<uint32_t, Asked> asked_;  // requests not yet answered
  kvntrace::EventId lostEvent_;
};

}  // namespace kvn
