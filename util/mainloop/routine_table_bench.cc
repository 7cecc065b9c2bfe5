// What the switchboard costs per message: a dispatch through the table (header swap, slot
// lookup, call, drain) against the bare virtual call of the routine, and a broadcast over a
// table with a few hundred routines.
#include <benchmark/benchmark.h>

#include <memory>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "util/mainloop/event.h"
#include "util/mainloop/routine.h"
#include "util/mainloop/routine_table.h"
#include "util/testing/fake_pxm.h"

namespace {

class CountingRoutine : public kvn::Routine {
 public:
  void pxm_message(pxm_msg*& msg, size_t) override { benchmark::DoNotOptimize(++count); }
  void handleEvent(kvntrace::EventId) override { benchmark::DoNotOptimize(++count); }
  uint64_t count = 0;
};

struct Bench {
  kvn::testing::FakePxm pxm;
  kvn::RoutineTable table{&pxm, kvn::testing::FakePxm::kBaseSignalNo};
  std::shared_ptr<CountingRoutine> routine = std::make_shared<CountingRoutine>();
  pxm_msg* msg = pxm.alloc(64, kvn::testing::FakePxm::kBaseSignalNo);
  uint16_t id = table.allocate(routine);
  Bench() {
    auto* header = reinterpret_cast<KvnObsSubMessageWithSubMsgNo*>(msg);
    header->dstRoutineId = id;
  }
  ~Bench() { pxm.free(msg); }
};

void BM_DirectCall(benchmark::State& state) {
  Bench b;
  kvn::AbstractRoutine* target = b.routine.get();
  for (auto _ : state) {
    target->pxm_message(b.msg, 64);
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_DirectCall);

void BM_TableDispatch(benchmark::State& state) {
  Bench b;
  auto* header = reinterpret_cast<KvnObsSubMessageWithSubMsgNo*>(b.msg);
  kvnObsSwapHeader(header);  // as on the wire
  for (auto _ : state) {
    b.table.dispatch(1, b.msg, 64);
    kvnObsSwapHeader(header);  // back to the wire order for the next round
  }
}
BENCHMARK(BM_TableDispatch);

void BM_SendEvent(benchmark::State& state) {
  Bench b;
  kvntrace::Event event;
  for (int i = 1; i < state.range(0); ++i) {
    auto r = std::make_shared<CountingRoutine>();
    r->subscribeEvent(event.getId());
    b.table.allocate(r);
  }
  for (auto _ : state) b.table.sendEvent(event.getId());
}
BENCHMARK(BM_SendEvent)->Arg(10)->Arg(500);

}  // namespace

BENCHMARK_MAIN();
