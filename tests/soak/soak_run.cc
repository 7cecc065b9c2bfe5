#include "tests/soak/soak_run.h"

#include <signal.h>

#include <cstdio>
#include <fstream>
#include <thread>

#include "tests/e2e/programs.h"

namespace kvn::soak {

namespace {

// Agent n as the example agents are: every function the service drives, with figures for the
// measurements and a small SuperTrace buffer.
const char* const kRoutines =
    R"({"routineId": 10, "implements": "embuf"}, {"routineId": 11, "implements": "memoryBuffer"},)"
    R"( {"routineId": 12, "implements": "traceDest"},)"
    R"( {"routineId": 20, "implements": "forwarder", "link": {"source": "TOKEN", "destination": "TN"}},)"
    R"( {"routineId": 21, "implements": "forwarder", "linkCount": 2, "link": {"source": "LPP_TRACE", "destination": "LOGSERVER"}},)"
    R"( {"routineId": 22, "implements": "forwarder", "link": {"source": "RTT", "destination": "EMBUF"}},)"
    R"( {"routineId": 23, "implements": "forwarder", "link": {"source": "EMBUF", "destination": "TN"}},)"
    R"( {"routineId": 24, "implements": "forwarder", "link": {"source": "EMBUF", "destination": "EBCOM"}},)"
    R"( {"routineId": 30, "implements": "rttManager"}, {"routineId": 31, "implements": "measurements"},)"
    R"( {"routineId": 32, "implements": "traceHitCounter"}, {"routineId": 42, "implements": "sig2emManager"})";
const char* const kFields =
    R"("traceHitCounter": {"rowsPerConfirm": 2, "droppedHits": 0, "droppedStrids": 0, "rows": [)"
    R"( {"strid": 0, "group": 11, "args": [7, 12], "counter": 40, "firstHit": 120, "lastHit": 9800},)"
    R"( {"strid": 1, "group": 10, "args": [7, 27], "counter": 38, "firstHit": 125, "lastHit": 9790},)"
    R"( {"strid": 2, "group": 1, "args": [2, 5], "counter": 3, "firstHit": 4000, "lastHit": 8000}]},)"
    R"( "measurements": {"snapshotUs": 1000000, "dsps": [)"
    R"( {"min": 12, "max": 87, "average": 45, "histogram": [2, 10, 30, 15, 3], "pooled": 0},)"
    R"( {"min": 0, "max": 55, "average": 22, "histogram": [30, 20, 8, 2, 0], "pooled": 1}],)"
    R"( "cmPool": {"allocatedWords": 20744, "totalWords": 262144, "blocks": [)"
    R"( {"blockSizeInWords": 8, "totalNumberOfBlocks": 1024, "allocatedNumberOfBlocks": 310,)"
    R"( "maximumAllocatedNumberOfBlocks": 402}]}},)"
    R"( "superTrace": {"bufferWords": 20000, "producerRate": 20000, "consumerRate": 30000})";

}  // namespace

SoakRun::SoakRun(uint32_t seed, std::chrono::seconds length)
    : random_(seed), length_(length), system_(dir_, "info"), mix_(random_) {}

SoakRun::Clock::duration SoakRun::millis(int from, int to) {
  return std::chrono::milliseconds(from + static_cast<int>(random_() % (to - from + 1)));
}

bool SoakRun::start(std::string& error) {
  if (*e2e::programs::kDiagSim == '\0') error = "diag-sim is not built";
  if (error.empty() && !system_.ok()) error = system_.error();
  if (!error.empty()) return false;
  startDiag();
  for (int n = 1; n <= 5; ++n) {
    system_.describeAgent(n, kRoutines, kFields);
    if (!system_.startAgent(n)) {
      error = "agent " + std::to_string(n) + " did not come up: " + system_.agent(n).err();
      return false;
    }
  }
  // The figure to come back to: every peer there (the diag handler's hello taken) and nothing
  // running.
  if (!e2e::eventually(
          [&] { return e2e::contains(system_.service().err(), "DiagHandler connected"); })) {
    error = "the diag handler did not connect";
    return false;
  }
  figures_.slotsAtStart = system_.settledSlots();
  return figures_.slotsAtStart > 0 || (error = "the service does not tell its used slots", false);
}

void SoakRun::startDiag() {
  ++diagRuns_;
  const std::string name = "diag" + std::to_string(diagRuns_);
  diag_ = std::make_unique<e2e::Process>(
      dir_, name, e2e::programs::kDiagSim,
      std::vector<std::string>{"--journal", dir_.file(name + ".journal")});
  diagBack_ = Clock::time_point::max();
}

void SoakRun::startAgent(int number, bool faults) {
  Agent& agent = agents_[number - 1];
  std::vector<std::string> options;
  const unsigned kind = faults ? random_() % 20 : 0;
  agent.dropsConfirms = kind >= 17;
  if (agent.dropsConfirms) {
    options.push_back("--drop-confirms");
    // Nothing times out: what waits on it ends when it is killed, soon.
    agent.next = Clock::now() + millis(1000, 5000);
  } else if (kind >= 12) {
    options = {"--confirm-delay-ms", std::to_string(50 + random_() % 1500)};
  }
  agent.up = true;
  if (!system_.startAgent(number, options)) {
    ++figures_.agentRestartsFailed;
    std::printf("agent %d did not come back: %s\n", number, system_.agent(number).err().c_str());
  }
}

void SoakRun::killAgent(int number) {
  Agent& agent = agents_[number - 1];
  system_.agent(number).stop(SIGKILL);
  ++figures_.agentKills;
  agent.up = false;
  agent.next = Clock::now() + millis(100, 1500);  // when it starts again
}

void SoakRun::tendAgents() {
  const auto now = Clock::now();
  for (int n = 1; n <= 5; ++n) {
    Agent& agent = agents_[n - 1];
    if (agent.up && agent.dropsConfirms && now >= agent.next) killAgent(n);
    if (!agent.up && now >= agent.next) startAgent(n, true);
  }
}

void SoakRun::startCommand(FrontEnd& fe) {
  const std::vector<std::string> words = mix_.next();
  fe.line.clear();
  for (const std::string& w : words) fe.line += (fe.line.empty() ? "" : " ") + w;
  fe.process = system_.startShell(words);
  fe.started = Clock::now();
  fe.killed = fe.interrupted = false;
  ++figures_.run;
}

void SoakRun::reap(FrontEnd& fe, bool overdue) {
  if (!fe.process) return;
  if (overdue) {
    ++figures_.overdue;
    std::printf("not ended within %llds: %s\n", static_cast<long long>(kBound.count()),
                fe.line.c_str());
    fe.process->stop(SIGKILL);
    fe.process.reset();
    return;
  }
  const int status = fe.process->wait(std::chrono::milliseconds(0)).value_or(-1);
  if (fe.killed) {
    ++figures_.killed;
  } else if (fe.interrupted && (status < 100 || status == 128 + SIGINT)) {
    ++figures_.ended;  // an interrupt before the line was sent ends the shell by itself
    ++figures_.aborted;
  } else if (status >= 0 && status < 100 && status != 2) {
    ++figures_.ended;
  } else if (status == 2 || status == 100 || status == 103 || status == 104 || status == 108) {
    // 2: no such sub-command; 100: the shell's own refusal, nothing sent.
    ++figures_.refused;
  } else {
    ++figures_.unexpected;
    std::printf("front end ended with %d: %s\n%s", status, fe.line.c_str(),
                fe.process->err().c_str());
  }
  fe.process.reset();
}

void SoakRun::fault() {
  const unsigned r = random_() % 100;
  FrontEnd& fe = frontEnds_[random_() % kFrontEnds];
  const int number = 1 + static_cast<int>(random_() % 5);
  Agent& agent = agents_[number - 1];
  if (r < 45) {
    if (!fe.process || !fe.process->running() || fe.killed || fe.interrupted) return;
    if (r < 30) {
      fe.killed = true;
      fe.process->signal(SIGKILL);
    } else {
      fe.interrupted = true;
      fe.process->signal(SIGINT);
    }
  } else if (r < 75) {
    if (agent.up) killAgent(number);
  } else if (diag_->running() && diagBack_ == Clock::time_point::max()) {
    ++figures_.diagBounces;
    if (r < 90) {
      diag_->signal(SIGUSR1);  // goes away and says hello again by itself
    } else {
      diag_->stop(SIGKILL);
      diagBack_ = Clock::now() + millis(200, 1000);
    }
  }
}

void SoakRun::checkService() {
  if (serviceDown_ || system_.service().running()) return;
  serviceDown_ = true;
  ++figures_.serviceRestarts;
  std::printf("the service died (status %d):\n%s\n", system_.service().wait().value_or(-1),
              system_.service().err().c_str());
}

long SoakRun::serviceRssKb() {
  std::ifstream status("/proc/" + std::to_string(system_.service().pid()) + "/status");
  for (std::string line; std::getline(status, line);)
    if (line.rfind("VmRSS:", 0) == 0) return std::atol(line.c_str() + 6);
  return 0;
}

void SoakRun::run() {
  const auto begin = Clock::now();
  const auto end = begin + length_;
  const auto warm = begin + std::max<Clock::duration>(std::chrono::seconds(5), length_ / 10);
  auto nextFault = begin + millis(200, 1200);
  Clock::time_point nextStart[kFrontEnds] = {};
  while (!serviceDown_) {
    const auto now = Clock::now();
    if (now >= end) break;
    for (int i = 0; i < kFrontEnds; ++i) {
      FrontEnd& fe = frontEnds_[i];
      if (fe.process && !fe.process->running()) {
        reap(fe, false);
        nextStart[i] = now + millis(0, 100);
      } else if (fe.process && now - fe.started > kBound) {
        reap(fe, true);
      }
      if (!fe.process && now >= nextStart[i]) startCommand(fe);
    }
    if (now >= nextFault) {
      fault();
      nextFault = now + millis(200, 1200);
    }
    tendAgents();
    if (diagBack_ != Clock::time_point::max() && now >= diagBack_) startDiag();
    if (figures_.rssWarmKb == 0 && now >= warm) figures_.rssWarmKb = serviceRssKb();
    checkService();
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }

  // Quiet: an agent that drops confirms is killed first, as it would have been soon, so that
  // what waits on it ends; then every command to its end, then every agent started afresh
  // without faults, which ends what routes and streams it had (their routines rightly stay
  // while they run).
  if (!diag_->running() || diagBack_ != Clock::time_point::max()) startDiag();
  for (int n = 1; n <= 5; ++n)
    if (agents_[n - 1].up && agents_[n - 1].dropsConfirms) killAgent(n);
  for (FrontEnd& fe : frontEnds_) {
    if (!fe.process) continue;
    const bool ended = fe.process->wait(kBound).has_value();
    reap(fe, !ended);
  }
  for (int n = 1; n <= 5; ++n) {
    if (agents_[n - 1].up) system_.agent(n).stop(SIGKILL);
    startAgent(n, false);
  }
  checkService();
  if (serviceDown_) return;
  e2e::eventually(
      [&] { return (figures_.slotsAtEnd = system_.usedSlots()) == figures_.slotsAtStart; },
      std::chrono::seconds(15));
  figures_.rssEndKb = serviceRssKb();
}

}  // namespace kvn::soak
