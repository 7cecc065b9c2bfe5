// kvn-soak: the whole system under a seeded mix of commands and peer faults for a bounded time;
// prints its figures and checks, and ends non-zero if a check failed.
//
//   kvn-soak [--seconds N | --minutes N] [--seed S]
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "tests/soak/soak_run.h"

namespace {

int usage() {
  std::fprintf(stderr, "usage: kvn-soak [--seconds N | --minutes N] [--seed S]\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  long seconds = 60;
  uint32_t seed = std::random_device{}();
  for (int i = 1; i < argc; ++i) {
    const std::string option = argv[i];
    if (i + 1 >= argc) return usage();
    char* end = nullptr;
    const unsigned long value = std::strtoul(argv[++i], &end, 10);
    if (*end != '\0' || value == 0) return usage();
    if (option == "--seconds") {
      seconds = static_cast<long>(value);
    } else if (option == "--minutes") {
      seconds = static_cast<long>(value) * 60;
    } else if (option == "--seed") {
      seed = static_cast<uint32_t>(value);
    } else {
      return usage();
    }
  }
  std::printf("seed %u\n", seed);
  std::fflush(stdout);

  kvn::soak::SoakRun soak(seed, std::chrono::seconds(seconds));
  std::string error;
  if (!soak.start(error)) {
    std::printf("the system did not come up: %s\nseed %u\n0 passed, 1 failed\n", error.c_str(),
                seed);
    return 1;
  }
  soak.run();

  const auto& f = soak.figures();
  std::printf("commands run %d, ended %d (aborted %d), refused %d, front ends killed %d\n", f.run,
              f.ended, f.aborted, f.refused, f.killed);
  std::printf("agents killed %d, diag handler went and came back %d times\n", f.agentKills,
              f.diagBounces);
  std::printf("used routine slots at start %d, at end %d\n", f.slotsAtStart, f.slotsAtEnd);
  std::printf("service RSS after warm-up %ld kB, at end %ld kB (%.2f)\n", f.rssWarmKb, f.rssEndKb,
              f.rssWarmKb > 0 ? static_cast<double>(f.rssEndKb) / f.rssWarmKb : 0.0);

  int passed = 0, failed = 0;
  const auto check = [&](bool ok, const char* what, long figure) {
    std::printf("%s: %s (%ld)\n", ok ? "pass" : "FAIL", what, figure);
    ++(ok ? passed : failed);
  };
  check(f.serviceRestarts == 0, "service restarts are 0", f.serviceRestarts);
  check(f.overdue == 0, "every command ended within its bound", f.overdue);
  check(f.unexpected == 0, "no front end saw the service go away", f.unexpected);
  check(f.agentRestartsFailed == 0, "every agent killed came back", f.agentRestartsFailed);
  check(f.run > 0 && f.run == f.ended + f.refused + f.killed + f.overdue + f.unexpected,
        "every command run is accounted for", f.run);
  check(f.slotsAtEnd == f.slotsAtStart, "used slots at the end as at the start", f.slotsAtEnd);
  // Room for the allocator's arenas to settle; a leak per command shows far beyond it.
  check(f.rssEndKb > 0 && f.rssEndKb <= f.rssWarmKb + f.rssWarmKb / 4 + 1024,
        "RSS at the end within a quarter (+1 MB) of after warm-up", f.rssEndKb);
  if (failed > 0) std::printf("seed %u (replay with --seed %u)\n", seed, seed);
  std::printf("%d passed, %d failed\n", passed, failed);
  return failed == 0 ? 0 : 1;
}
