#pragma once
// The agents of one run, and the controller calls over all of them. A call over the group goes
// to every member in order, also after a failure, which it logs.

#include <stddef.h>
#include <stdint.h>

#include <set>

namespace kvn {

class SuperTrace;

class SuperTraceGroup {
 public:
  explicit SuperTraceGroup(SuperTrace& controller) : controller_(&controller) {}

  void add(uint16_t agent) { agents_.insert(agent); }
  void remove(uint16_t agent) { agents_.erase(agent); }
  bool contains(uint16_t agent) const { return agents_.count(agent) != 0; }
  size_t size() const { return agents_.size(); }
  const std::set<uint16_t>& agents() const { return agents_; }

  // How many members' producer (consumer) is in `state`: 0 stopped, 1 started, 2 stopping.
  size_t countProducers(uint32_t state) const;
  size_t countConsumers(uint32_t state) const;

  // False when any member failed.
  bool stopProducers();
  bool stopConsumers();
  bool startProducers();
  bool startConsumers();

 private:
  SuperTrace* controller_;
  std::set<uint16_t> agents_;
};

}  // namespace kvn
