// The throughput of `zoth recorder dump`: a simulated agent records 64 MiB of lpp, and kvnsh
// dumps it to a file through pxmd and the service, a chunk of 2 KiB for each of the front end's
// confirms with four requests out. The baseline, measured in the same run on the same hub, is
// the hub's own one-way throughput of 2 KiB messages: the same bytes sent from one process to
// another as fast as the hub takes them, as many as the dump gave (the dump runs first). Both
// move the same bytes an iteration, so the ratio of their times is that of their throughputs. Each
// chunk of the dump costs two 2 KiB messages (the agent's confirm, the service's print) and two
// small ones through the hub.
//
// --smoke records 4 MiB instead.

#include <benchmark/benchmark.h>
#include <signal.h>
#include <stdlib.h>

#include <memory>
#include <string>
#include <thread>

#include "bench/ratio_reporter.h"
#include "pxm/pxm.h"
#include "tests/e2e/process.h"
#include "tests/e2e/programs.h"
#include "tests/e2e/test_system.h"

namespace {

using namespace std::chrono_literals;

constexpr uint32_t kData = 0x6000, kFound = 0x6001;
constexpr size_t kChunk = 2048;
uint64_t g_bytes = 64u << 20;  // recorded
uint64_t g_dumped = 0;         // what one dump gave, which the baseline sends too

// The system with agent 1 that has recorded `g_bytes` of lpp, kept for the whole run.
class Recorded {
 public:
  static Recorded& get() {
    static Recorded recorded;
    return recorded;
  }
  bool ok() const { return error_.empty(); }
  const std::string& error() const { return error_; }
  kvn::e2e::TestSystem& system() { return system_; }
  const kvn::e2e::RunDir& dir() const { return dir_; }

 private:
  Recorded() {
    if (!system_.ok()) {
      error_ = system_.error();
      return;
    }
    // The service as in the field: without the test system's debug log on standard error.
    system_.service().stop(SIGTERM);
    service_ = std::make_unique<kvn::e2e::Process>(
        dir_, "quiet-service", kvn::e2e::programs::kTraceController, std::vector<std::string>{},
        kvn::e2e::Process::Env{{"LOG_DIR", system_.stateDir()}});
    std::string info;
    if (!kvn::e2e::eventually([&] { return system_.shell({"zoth", "info"}, info) == 0; })) {
      error_ = "the quiet service did not come up";
      return;
    }
    // The producer fills the buffer in about half a second; then it keeps the newest 64 MiB.
    const uint64_t words = g_bytes / 2;
    system_.describeAgent(
        1,
        R"({"routineId": 10, "implements": "embuf"}, {"routineId": 11, "implements": "memoryBuffer"},)"
        R"( {"routineId": 23, "implements": "forwarder", "link": {"source": "LPP_TRACE", "destination": "EMBUF"}})",
        R"("superTrace": {"bufferWords": )" + std::to_string(words) +
            R"(, "blockWords": 4096, "producerRate": )" + std::to_string(words * 2) + "}");
    std::string out;
    if (!system_.startAgent(1) || system_.shell({"zoth", "route", "1:lpp", "embuf"}, out) != 0 ||
        system_.shell({"zoth", "recorder", "start", "1"}, out) != 0) {
      error_ = "no recording: " + out;
      return;
    }
    std::this_thread::sleep_for(1500ms);
    if (system_.shell({"zoth", "recorder", "stop", "1"}, out) != 0) error_ = "no stop: " + out;
  }

  kvn::e2e::RunDir dir_;
  kvn::e2e::TestSystem system_{dir_};
  std::unique_ptr<kvn::e2e::Process> service_;
  std::string error_;
};

void BM_Dump(benchmark::State& state) {
  Recorded& recorded = Recorded::get();
  if (!recorded.ok()) return state.SkipWithError(recorded.error().c_str());
  const std::string file = recorded.dir().file("dump.bin");
  for (auto _ : state) {
    std::unique_ptr<kvn::e2e::Process> shell =
        recorded.system().startShell({"--output", file, "zoth", "recorder", "dump", "1:lpp"});
    if (shell->wait(600s).value_or(-1) != 0) return state.SkipWithError("the dump failed");
  }
  // The buffer keeps whole blocks, so it holds a little less than its size.
  g_dumped = recorded.dir().read("dump.bin").size() - 4;
  if (g_dumped < g_bytes * 9 / 10) return state.SkipWithError("the dump is not the whole buffer");
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * g_dumped));
}

// A child sends what the dump gave, in 2 KiB messages, to this process's mailbox.
void BM_HubOneWay2K(benchmark::State& state) {
  Recorded& recorded = Recorded::get();
  if (!recorded.ok()) return state.SkipWithError(recorded.error().c_str());
  setenv("PXM_RUNDIR", recorded.dir().pxmRunDir().c_str(), 1);
  if (pxm_init(2, 0, nullptr, nullptr, 0) != 0 || pxm_create_mailbox("bench", 0) == PXM_NO_MBOX)
    return state.SkipWithError("no hub");
  if (g_dumped == 0) return state.SkipWithError("no dump to compare with");
  const size_t count = (g_dumped + kChunk - 1) / kChunk;
  for (auto _ : state) {
    kvn::e2e::Process sender(recorded.dir(), "sender", [count] {
      if (pxm_init(2, 0, nullptr, nullptr, 0) != 0 ||
          pxm_create_mailbox("sender", 0) == PXM_NO_MBOX)
        return 1;
      const pxm_mbox_id_t to = pxm_locate("bench");
      for (size_t i = 0; i < count; ++i) {
        pxm_msg* msg = pxm_alloc(kChunk, kData);
        pxm_send(&msg, to, PXM_MY_MBOX);
      }
      pxm_exit();
      return 0;
    });
    for (size_t i = 0; i < count; ++i) {
      pxm_msg* msg = pxm_receive(nullptr, 10000, PXM_FROM_ALL);
      if (!msg) return state.SkipWithError("the sender stopped");
      pxm_free(&msg);
    }
    sender.wait();
  }
  pxm_exit();
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * count * kChunk));
}

BENCHMARK(BM_Dump)->UseRealTime()->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_HubOneWay2K)->UseRealTime()->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i)
    if (std::string(argv[i]) == "--smoke") {
      g_bytes = 4u << 20;
      for (int j = i; j + 1 < argc; ++j) argv[j] = argv[j + 1];
      --argc;
      break;
    }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  // Hub time over dump time: the dump's throughput as a share of the hub's.
  kvn::bench::RatioReporter reporter(
      kvn::bench::RatioReporter::Clock::kReal,
      {{"dump throughput / hub one-way 2 KiB throughput", "BM_HubOneWay2K", "BM_Dump"}});
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
