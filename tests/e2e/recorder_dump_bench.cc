// The throughput of `zoth recorder dump`: a simulated agent records 64 MiB of lpp, and kvnsh
// dumps it to a file through pxmd and the service, a chunk of 2 KiB for each of the front end's
// confirms with four requests out. Each chunk costs two 2 KiB messages (the agent's confirm, the
// service's print) and two small ones through the hub, and so the dump is bound by the latency
// of its chain, not by bytes. Its baseline, measured in the same run on the same hub, is that
// chain with minimal processes (below). A second baseline, the hub's own one-way throughput of
// 2 KiB messages, shows how far the chain is from what the hub carries. All move the same bytes
// an iteration (the dump runs first and sets how many), so the ratio of their times is that of
// their throughputs.
//
// --smoke records 4 MiB instead.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <thread>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"
#include "bench/ratio_reporter.h"
#include "bench/smoke_flag.h"
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
// CPU microseconds a chunk of all four processes together, of the dump and of its chain.
double g_dumpCpu = 0, g_chainCpu = 0;

// What a process has used so far: CPU time and the times it went to sleep of its own accord,
// each of which takes a wake-up to end.
struct Usage {
  double cpuUs = 0;
  double sleeps = 0;

  static Usage ofPid(pid_t pid) {
    Usage u;
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text((std::istreambuf_iterator<char>(stat)), std::istreambuf_iterator<char>());
    const size_t end = text.rfind(')');  // the name may hold blanks
    if (end == std::string::npos) return u;
    std::istringstream fields(text.substr(end + 2));
    std::string field;
    unsigned long long ticks = 0;
    for (int i = 3; i <= 15 && fields >> field; ++i)
      if (i >= 14) ticks += std::stoull(field);  // utime, stime
    u.cpuUs = 1e6 * static_cast<double>(ticks) / static_cast<double>(sysconf(_SC_CLK_TCK));
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(status, line);)
      if (line.rfind("voluntary_ctxt_switches:", 0) == 0) u.sleeps = std::stod(line.substr(24));
    return u;
  }
  // Of this process's children that ended and were waited for, or of this process itself.
  static Usage ofSelf(int who) {
    rusage r{};
    getrusage(who, &r);
    Usage u;
    u.cpuUs = 1e6 * static_cast<double>(r.ru_utime.tv_sec + r.ru_stime.tv_sec) +
              static_cast<double>(r.ru_utime.tv_usec + r.ru_stime.tv_usec);
    u.sleeps = static_cast<double>(r.ru_nvcsw);
    return u;
  }
  Usage operator-(const Usage& o) const { return {cpuUs - o.cpuUs, sleeps - o.sleeps}; }
  Usage& operator+=(const Usage& o) {
    cpuUs += o.cpuUs;
    sleeps += o.sleeps;
    return *this;
  }
};

// CPU microseconds and sleeps per chunk of each process of a chain, as counters: of the three
// that run throughout, and of the front end, measured by getrusage(`frontWho`).
class ChainUsage {
 public:
  ChainUsage(pid_t service, pid_t agent, pid_t hub, int frontWho)
      : pids_{service, agent, hub}, frontWho_(frontWho) {}

  void begin() {
    for (int i = 0; i < 3; ++i) before_[i] = Usage::ofPid(pids_[i]);
    before_[3] = Usage::ofSelf(frontWho_);
  }
  void end() {
    for (int i = 0; i < 3; ++i) used_[i] += Usage::ofPid(pids_[i]) - before_[i];
    used_[3] += Usage::ofSelf(frontWho_) - before_[3];
  }
  // Gives the CPU microseconds a chunk of all four.
  double report(benchmark::State& state, double chunks) const {
    static const char* const names[] = {"service", "agent", "hub", "shell"};
    double total = 0;
    for (int i = 0; i < 4; ++i) {
      state.counters[std::string(names[i]) + "_us"] = used_[i].cpuUs / chunks;
      state.counters[std::string(names[i]) + "_wake"] = used_[i].sleeps / chunks;
      total += used_[i].cpuUs / chunks;
    }
    return total;
  }

 private:
  pid_t pids_[3];
  int frontWho_;
  Usage before_[4], used_[4];
};

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
  pid_t servicePid() const { return service_->pid(); }
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
  kvn::e2e::TestSystem& system = recorded.system();
  // The shell is a child that ends within the iteration.
  ChainUsage usage(recorded.servicePid(), system.agent(1).pid(), system.hub().process().pid(),
                   RUSAGE_CHILDREN);
  for (auto _ : state) {
    usage.begin();
    std::unique_ptr<kvn::e2e::Process> shell =
        system.startShell({"--output", file, "zoth", "recorder", "dump", "1:lpp"});
    if (shell->wait(600s).value_or(-1) != 0) return state.SkipWithError("the dump failed");
    usage.end();
  }
  // The buffer keeps whole blocks, so it holds a little less than its size.
  g_dumped = recorded.dir().read("dump.bin").size() - 4;
  if (g_dumped < g_bytes * 9 / 10) return state.SkipWithError("the dump is not the whole buffer");
  g_dumpCpu = usage.report(state, static_cast<double>(state.iterations() * (g_dumped / kChunk)));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * g_dumped));
}

// The limit of the dump's chain: the same four processes with nothing but the dump in them,
// over the same hub, with the same messages and flow control. A minimal agent answers each data
// request at once with 2 KiB; a minimal service keeps four requests out, copies each chunk of
// data into a print message and sends one more request for each confirmed print; this process
// is the minimal front end, which writes each chunk to a file and confirms it, and syncs the
// file at the end as the shell does.
namespace chain {

constexpr uint32_t kObs = kKvnObsSignalNo;  // all routine-addressed traffic
constexpr uint32_t kGo = 0x6010, kQuit = 0x6011;
// Sizes as the service and the shell send them: a data request, a data confirm of 1024 words,
// a print message of 2 KiB with the service's slack, a print confirm.
constexpr size_t kRequest = 24, kDataOffset = 24, kPrintOffset = 18, kPrintSlack = 20,
                 kPrintCfm = 14;

pxm_mbox_id_t locate(const char* name) {
  pxm_msg* found = pxm_alloc(4, kFound);
  pxm_locate_async(name, &found, PXM_MY_MBOX);
  pxm_msg* answer = pxm_receive(nullptr, 10000, PXM_FROM_ALL);
  const pxm_mbox_id_t id = answer ? pxm_sender(answer) : PXM_NO_MBOX;
  pxm_free(&answer);
  return id;
}

int agent() {
  if (pxm_init(2, 0, nullptr, nullptr, 0) != 0 ||
      pxm_create_mailbox("chain-agent", 0) == PXM_NO_MBOX)
    return 1;
  for (;;) {
    pxm_msg* req = pxm_receive(nullptr, PXM_NO_TMO, PXM_FROM_ALL);
    if (!req || req->msgno == kQuit) break;
    pxm_msg* cfm = pxm_alloc(kDataOffset + kChunk, kObs);
    std::memcpy(cfm, req, kRequest);  // the request's fields, then the data
    pxm_send(&cfm, pxm_sender(req), PXM_MY_MBOX);
    pxm_free(&req);
  }
  pxm_exit();
  return 0;
}

// Each kGo carries the number of chunks to fetch and the agent's mailbox; the front end is its
// sender.
int service() {
  if (pxm_init(2, 0, nullptr, nullptr, 0) != 0 ||
      pxm_create_mailbox("chain-service", 0) == PXM_NO_MBOX)
    return 1;
  pxm_mbox_id_t agentBox = PXM_NO_MBOX, front = PXM_NO_MBOX;
  uint32_t total = 0, requested = 0;
  auto request = [&] {
    pxm_msg* req = pxm_alloc(kRequest, kObs);
    ++requested;
    std::memcpy(reinterpret_cast<char*>(req) + 14, &requested, sizeof requested);
    pxm_send(&req, agentBox, PXM_MY_MBOX);
  };
  for (;;) {
    pxm_msg* msg = pxm_receive(nullptr, PXM_NO_TMO, PXM_FROM_ALL);
    if (!msg || msg->msgno == kQuit) break;
    if (msg->msgno == kGo) {
      front = pxm_sender(msg);
      std::memcpy(&total, reinterpret_cast<char*>(msg) + 4, sizeof total);
      std::memcpy(&agentBox, reinterpret_cast<char*>(msg) + 8, sizeof agentBox);
      requested = 0;
      while (requested < total && requested < 4) request();
    } else if (pxm_sender(msg) == agentBox) {
      pxm_msg* print = pxm_alloc(kPrintOffset + kChunk + kPrintSlack, kObs);
      std::memcpy(reinterpret_cast<char*>(print) + kPrintOffset,
                  reinterpret_cast<char*>(msg) + kDataOffset, kChunk);
      pxm_send(&print, front, PXM_MY_MBOX);
    } else if (requested < total) {  // a print confirmed
      request();
    }
    pxm_free(&msg);
  }
  pxm_exit();
  return 0;
}

}  // namespace chain

void BM_DumpChain(benchmark::State& state) {
  Recorded& recorded = Recorded::get();
  if (!recorded.ok()) return state.SkipWithError(recorded.error().c_str());
  if (g_dumped == 0) return state.SkipWithError("no dump to compare with");
  setenv("PXM_RUNDIR", recorded.dir().pxmRunDir().c_str(), 1);
  kvn::e2e::Process agent(recorded.dir(), "chain-agent", chain::agent);
  kvn::e2e::Process service(recorded.dir(), "chain-service", chain::service);
  if (pxm_init(2, 0, nullptr, nullptr, 0) != 0 ||
      pxm_create_mailbox("chain-front", 0) == PXM_NO_MBOX)
    return state.SkipWithError("no hub");
  const pxm_mbox_id_t agentBox = chain::locate("chain-agent");
  const pxm_mbox_id_t serviceBox = chain::locate("chain-service");
  if (agentBox == PXM_NO_MBOX || serviceBox == PXM_NO_MBOX) {
    pxm_exit();
    return state.SkipWithError("no chain");
  }
  const uint32_t count = static_cast<uint32_t>((g_dumped + kChunk - 1) / kChunk);
  const std::string file = recorded.dir().file("chain.bin");
  // This process is the front end.
  ChainUsage usage(service.pid(), agent.pid(), recorded.system().hub().process().pid(),
                   RUSAGE_SELF);
  for (auto _ : state) {
    usage.begin();
    const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    pxm_msg* go = pxm_alloc(12, chain::kGo);
    std::memcpy(reinterpret_cast<char*>(go) + 4, &count, sizeof count);
    std::memcpy(reinterpret_cast<char*>(go) + 8, &agentBox, sizeof agentBox);
    pxm_send(&go, serviceBox, PXM_MY_MBOX);
    for (uint32_t i = 0; i < count; ++i) {
      pxm_msg* print = pxm_receive(nullptr, 10000, PXM_FROM_ALL);
      if (!print) {
        ::close(fd);
        pxm_exit();
        return state.SkipWithError("the chain stopped");
      }
      if (::write(fd, reinterpret_cast<char*>(print) + chain::kPrintOffset, kChunk) !=
          static_cast<ssize_t>(kChunk))
        state.SkipWithError("cannot write");
      pxm_mbox_id_t to = pxm_sender(print);
      pxm_free(&print);
      pxm_msg* cfm = pxm_alloc(chain::kPrintCfm, chain::kObs);
      pxm_send(&cfm, to, PXM_MY_MBOX);
    }
    ::fsync(fd);
    ::close(fd);
    usage.end();
  }
  for (pxm_mbox_id_t to : {serviceBox, agentBox}) {
    pxm_msg* quit = pxm_alloc(4, chain::kQuit);
    pxm_send(&quit, to, PXM_MY_MBOX);
  }
  service.wait();
  agent.wait();
  pxm_exit();
  ::unlink(file.c_str());
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * count * kChunk));
  g_chainCpu = usage.report(state, static_cast<double>(state.iterations() * count));
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
BENCHMARK(BM_DumpChain)->UseRealTime()->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_HubOneWay2K)->UseRealTime()->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

int main(int argc, char** argv) {
  if (kvn::bench::SmokeFlag::take(argc, argv)) g_bytes = 4u << 20;
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  // Baseline time over subject time: the subject's throughput as a share of its baseline's.
  kvn::bench::RatioReporter reporter(
      kvn::bench::RatioReporter::Clock::kReal,
      {{"dump throughput / its chain's", "BM_DumpChain", "BM_Dump"},
       {"chain throughput / hub one-way 2 KiB throughput", "BM_HubOneWay2K", "BM_DumpChain"},
       {"dump throughput / hub one-way 2 KiB throughput", "BM_HubOneWay2K", "BM_Dump"}});
  benchmark::RunSpecifiedBenchmarks(&reporter);
  // What the processes spend a chunk, which a machine that others load stretches less than the
  // times.
  if (g_dumpCpu > 0 && g_chainCpu > 0)
    std::printf("CPU a chunk, chain / dump: %.1f us against %.1f us: %.2fx\n", g_chainCpu,
                g_dumpCpu, g_chainCpu / g_dumpCpu);
  benchmark::Shutdown();
  return 0;
}
