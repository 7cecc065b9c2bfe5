#pragma once

#include <cstdint>
#include <memory>
#include <queue>
#include <stdexcept>
#include <vector>

#include "pxm/pxm.h"
#include "util/mailbox/hkm_pxm_interface.h"
#include "util/mainloop/abstract_routine.h"
#include "util/mainloop/event_id.h"

namespace kvn {

// The switchboard of the mailbox: routine number -> routine, a fixed array of 1200 slots. It
// owns the routines; a released routine is deleted once the dispatch under way has returned.
class RoutineTable {
 public:
  static constexpr uint16_t kSize = 1200;

  struct Exception {
    // Each failure kind is its own type and adds nothing else.
    template <int N, typename Base>
    class exc : public Base {
     public:
      using Base::Base;
    };
    using Error = exc<1, std::runtime_error>;
    using IdError = exc<3, Error>;  // out of range, or the table is full
    using AlreadyAllocated = exc<4, Error>;
    using RoutingFailed = exc<5, Error>;
  };

  // Makes `pxm` and `baseSignalNo` the process-wide statics, so that any routine can
  // allocate a message without a table at hand.
  RoutineTable(hkm::PXMInterface* pxm, uint32_t baseSignalNo);
  virtual ~RoutineTable();
  RoutineTable(const RoutineTable&) = delete;
  RoutineTable& operator=(const RoutineTable&) = delete;

  // Broadcasts to every routine, in slot order, including routines added during the walk in a
  // later slot.
  virtual void sendEvent(kvntrace::EventId event);

  // A fixed number. The number stays in the free list, which skips it when its turn comes.
  void allocate(std::shared_ptr<AbstractRoutine> routine, uint16_t id);
  // The next free number, 1199 downwards; a freed number comes back last.
  uint16_t allocate(std::shared_ptr<AbstractRoutine> routine);
  void release(uint16_t id);
  void free(uint16_t id);
  std::shared_ptr<AbstractRoutine> take(uint16_t id);
  std::shared_ptr<AbstractRoutine> get(uint16_t id) const;
  // How many slots hold a routine; tests use it to see that nothing was left behind.
  size_t usedSlots() const;

  // The dispatcher of the main loop for s_baseSignalNo.
  void dispatch(pxm_mbox_id_t sender, pxm_msg*& msg, size_t size);

  static hkm::PXMInterface* s_pxmsys;
  static uint32_t s_baseSignalNo;

 private:
  void register_(const std::shared_ptr<AbstractRoutine>& routine, uint16_t id);
  void drain();

  std::vector<std::shared_ptr<AbstractRoutine>> routines_;
  std::queue<uint16_t> freeIds_;
  std::queue<uint16_t> pendingRelease_;
};

}  // namespace kvn
