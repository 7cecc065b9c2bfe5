#pragma once
// What runs on a group of agents' SuperTrace paths: a recording, a stream, or nothing. Every
// agent's record holds one, and the agents of a group share theirs: that shared object is what
// "started together" means. A finished run stays in the records, inactive, until the next start
// replaces it.

#include <stdint.h>

#include <functional>

namespace kvn {

// The numbers passed around for what a run does.
enum SuperTraceMode : uint32_t {
  kSuperTraceIdle = 0,
  kSuperTraceRecording = 1,
  kSuperTraceStreaming = 2,
};

class SuperTraceRun {
 public:
  using OnStopped = std::function<void()>;

  virtual ~SuperTraceRun() = default;

  virtual bool start() = 0;
  // Asks the group to stop; `onStopped` runs once it has. False when the run cannot stop now.
  virtual bool stop(OnStopped onStopped) = 0;
  virtual bool isActive() const = 0;
  virtual bool isStopping() const = 0;

  // What the agents report, through the controller.
  virtual void producerStopped(uint16_t agent) = 0;
  virtual void consumerStopped(uint16_t agent) = 0;
  virtual void bufferFull(uint16_t agent) = 0;
  virtual void bufferEmpty(uint16_t agent) = 0;
  // The agent is gone: the run goes on with the others.
  virtual void agentLost(uint16_t agent) = 0;
};

}  // namespace kvn
