#pragma once
// What every test of routines stands on: the in-process mailbox, a main loop that dispatches
// routine-addressed messages to a routine table, and the table.

#include "util/mainloop/pxm_mainloop.h"
#include "util/mainloop/routine_table.h"
#include "util/mainloop/timer_queue.h"
#include "util/testing/fake_pxm.h"

namespace kvn::testing {

struct LoopWithTable {
  LoopWithTable() {
    loop.setDispatcher(FakePxm::kBaseSignalNo,
                       [this](pxm_mbox_id_t s, pxm_msg*& m, size_t n) { table.dispatch(s, m, n); });
  }
  LoopWithTable(const LoopWithTable&) = delete;
  LoopWithTable& operator=(const LoopWithTable&) = delete;

  FakePxm pxm;
  TimerQueue timers;
  PxmMainloop loop{&pxm, "kvn-tracecontroller", &timers};
  RoutineTable table{&pxm, FakePxm::kBaseSignalNo};
};

}  // namespace kvn::testing
