// The memory of a full `zorf log status`: five agents of 20000 trace objects each (about 6.6 MB
// of answer), the answer sent to a front end whose messages leave the process as they are
// sent. Prints the resident set before the command, at its peak and after it, for the
// session as the service runs it and, as the baseline of the same run, for the whole answer
// made as one text and then cut into chunks.
//
//   log_status_memory_bench [--objects N]     (default 20000 per agent)

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "service/agents/daxo_trace_model.h"
#include "service/tracecontrol/log_status_cmd_session.h"
#include "tavi/tavi_protocol.h"
#include "tracetables/trace_group_table.h"
#include "util/cmd/tavi_command_proxy.h"
#include "util/mainloop/pxm_mainloop.h"
#include "util/mainloop/routine_table.h"
#include "util/mainloop/timer_queue.h"
#include "util/testing/fake_pxm.h"

namespace {

using kvn::testing::FakePxm;

// A field of /proc/self/status, in kB.
long statusKb(const char* field) {
  std::ifstream in("/proc/self/status");
  for (std::string line; std::getline(in, line);)
    if (line.compare(0, strlen(field), field) == 0) return atol(line.c_str() + strlen(field) + 1);
  return -1;
}

// Starts a new peak at the present resident set; false where the kernel does not allow it.
bool resetPeak() {
  std::ofstream out("/proc/self/clear_refs");
  out << "5";
  out.flush();
  return out.good();
}

struct Figures {
  long before = 0, peak = 0, after = 0;
};

template <typename Run>
Figures measure(FakePxm& pxm, PxmMainloop& loop, Run run) {
  Figures f;
  pxm.runUntilIdle(loop);
  f.before = statusKb("VmRSS:");
  if (!resetPeak()) fprintf(stderr, "cannot reset the peak: figures are since the start\n");
  run();
  pxm.runUntilIdle(loop);
  f.peak = statusKb("VmHWM:");
  f.after = statusKb("VmRSS:");
  return f;
}

void print(const char* label, const Figures& f) {
  printf("%-28s before %7.1f MB  peak %7.1f MB  after %7.1f MB  (peak/before %.2f)\n", label,
         f.before / 1024.0, f.peak / 1024.0, f.after / 1024.0,
         f.before > 0 ? static_cast<double>(f.peak) / f.before : 0.0);
}

}  // namespace

int main(int argc, char** argv) {
  size_t objects = 20000;
  for (int i = 1; i + 1 < argc; ++i)
    if (strcmp(argv[i], "--objects") == 0) objects = strtoul(argv[i + 1], nullptr, 10);

  FakePxm pxm;
  TimerQueue timers;
  PxmMainloop loop(&pxm, "kvn-tracecontroller", &timers);
  kvn::RoutineTable table(&pxm, FakePxm::kBaseSignalNo);
  loop.setDispatcher(FakePxm::kBaseSignalNo,
                     [&table](pxm_mbox_id_t s, pxm_msg*& m, size_t n) { table.dispatch(s, m, n); });

  // The default profile's groups on every object: the answer's usual line.
  uint32_t mask = 0;
  for (size_t g = 0; g < kvn::TraceGroupTable::count(); ++g) {
    const std::string name = kvn::TraceGroupTable::name(g);
    if (name == "check" || name == "error" || name == "info" || name == "interface")
      mask |= kvn::TraceGroupTable::bit(g);
  }
  std::vector<uint16_t> agents;
  for (uint16_t n = 1; n <= 5; ++n) {
    kvn::DaxoRecord& r = kvn::DaxoTraceModel::get(n);
    r.bbmHwNumber = n;
    r.instanceName = "MOKA";
    r.domainDaxoIndex = n;
    r.connected = true;
    r.modelValid = true;
    r.traceObjects.reserve(objects);
    for (size_t i = 0; i < objects; ++i) {
      char name[40];
      snprintf(name, sizeof name, "dsp%u_traceObject_%06zu", n, i);
      r.traceObjects.push_back({static_cast<uint16_t>(i), static_cast<uint16_t>(i), name, mask});
    }
    agents.push_back(n);
  }

  // A front end that has gone: what is sent to it is freed at once, as a message that left the
  // process would be.
  const pxm_mbox_id_t frontEnd = pxm.createPeer("kvnsh");
  pxm.kill(frontEnd);

  size_t answerBytes = 0;
  const Figures session = measure(pxm, loop, [&] {
    auto s = std::make_shared<kvn::LogStatusCmdSession>(agents, false);
    s->attachTavi(std::make_shared<kvn::TaviCommandProxy>(&table, frontEnd, 77));
    table.allocate(s);
    s->start();
  });
  const Figures whole = measure(pxm, loop, [&] {
    kvn::LogStatusCmdSession s(agents, false);
    const std::string text = s.render();
    answerBytes = text.size();
    for (size_t at = 0; at < text.size(); at += kvn::tavi::kMaxChunk) {
      const size_t n = std::min(kvn::tavi::kMaxChunk, text.size() - at);
      pxm_msg* msg = pxm.alloc(n + 38, FakePxm::kBaseSignalNo);
      memcpy(reinterpret_cast<char*>(msg) + 18, text.data() + at, n);
      pxm.send(msg, frontEnd, pxm.own());
    }
  });

  printf("5 agents x %zu trace objects, answer %.1f MB\n", objects, answerBytes / 1e6);
  print("zorf log status (session)", session);
  print("whole text, then chunks", whole);
  printf("peak above before: session %.1f MB, whole text %.1f MB, ratio %.2f\n",
         (session.peak - session.before) / 1024.0, (whole.peak - whole.before) / 1024.0,
         whole.peak > whole.before
             ? static_cast<double>(session.peak - session.before) / (whole.peak - whole.before)
             : 0.0);
  return 0;
}
