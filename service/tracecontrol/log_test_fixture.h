#pragma once
// Test support of the trace mask and log command tests: agents put straight into the model with
// trace objects, utrace points and profiles of the test's choosing, on the in-process mailbox;
// each agent is a peer mailbox whose requests the test reads and confirms by hand.

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "service/agents/daxo_trace_model.h"
#include "service/tracecontrol/trace_object_controller.h"
#include "service/tracecontrol/trace_object_mask.h"
#include "service/tracecontrol/trace_toggler.h"
#include "service/tracecontrol/utrace_change.h"
#include "service/tracecontrol/utrace_config.h"
#include "tracetables/bad_profile_exception.h"
#include "tracetables/profile_provider.h"
#include "tracing/log_capture.h"
#include "util/cmd/cmd_session.h"
#include "util/cmd/tavi_command_proxy.h"
#include "util/mainloop/event.h"
#include "util/testing/cmd_layer_test_base.h"

namespace kvn::testing {

// Profiles given as lines, without a container.
class FakeProfileProvider : public kvntrace::ProfileProvider {
 public:
  explicit FakeProfileProvider(std::map<std::string, std::vector<std::string>> lines)
      : ProfileProvider("") {
    for (auto& [name, l] : lines) profiles_.emplace(name, kvntrace::Profile(name, l));
  }
  kvntrace::Profile getFlightRecorderProfile() const override { return {}; }
  std::vector<std::string> getProfileNames() const override {
    std::vector<std::string> names;
    for (const auto& p : profiles_) names.push_back(p.first);
    return names;
  }
  kvntrace::Profile getProfile(const std::string& name) const override {
    auto it = profiles_.find(name);
    if (it == profiles_.end()) throw kvntrace::BadProfileException(name);
    return it->second;
  }

 private:
  std::map<std::string, kvntrace::Profile> profiles_;
};

class LogTestFixture : public CmdLayerTestBase {
 protected:
  using Level = kvn::log::Level;
  using LogCapture = kvn::log::LogCapture;
  static constexpr uint16_t kObjectRoutine = 40;
  static constexpr uint16_t kUtraceRoutine = 41;
  // Trace groups' bits, and those the default profile of an agent enables.
  static constexpr uint32_t kCheck = 1u << 0, kError = 1u << 1, kInfo = 1u << 4, kTrace1 = 1u << 5,
                            kInterface = 1u << 20, kDefault = kCheck | kError | kInfo | kInterface;

  struct Point {
    std::string name;
    uint16_t id;
    bool isDefault;
  };
  struct Agent {
    std::vector<std::string> objects;
    std::vector<Point> points;
    std::map<std::string, std::vector<std::string>> profiles = {
        {"DefaultProfile", {"*;*;*.check", "*;*;*.error", "*;*;*.info", "*;*;*.interface"}}};
    bool objectService = true;
    bool utraceService = true;
  };

  LogTestFixture() { DaxoTraceModel::resetAll(); }
  ~LogTestFixture() override { DaxoTraceModel::resetAll(); }

  DaxoRecord& addAgent(uint16_t n, const Agent& a) {
    DaxoRecord& r = DaxoTraceModel::get(n);
    r = DaxoRecord();
    r.bbmHwNumber = n;
    r.instanceName = "MOKA";
    r.domainDaxoIndex = n;
    r.connected = r.modelValid = true;
    r.mailbox = agentMailbox[n] = pxm.createPeer("daxo-" + std::to_string(n));
    r.lostEvent = std::make_shared<kvntrace::Event>();
    r.traceToggler = std::make_shared<TraceToggler>(n);
    r.profileProvider = std::make_shared<FakeProfileProvider>(a.profiles);
    const kvntrace::EventId lost = r.lostEvent->getId();
    if (a.objectService) {
      r.traceObjectManager.id = kObjectRoutine;
      r.traceObjectManager.proxy =
          std::make_shared<TraceObjectProxy>(&table, r.mailbox, kObjectRoutine, lost);
      r.traceObjectManager.controller =
          std::make_shared<TraceObjectController>(n, r.traceObjectManager.proxy);
      for (size_t i = 0; i < a.objects.size(); ++i)
        r.traceObjects.push_back(
            {static_cast<uint16_t>(i), static_cast<uint16_t>(100 + i), a.objects[i], 0});
      r.enabledProfiles.insert("DefaultProfile");
    }
    if (a.utraceService) {
      r.uniqueTraceManager.id = kUtraceRoutine;
      r.uniqueTraceManager.config = std::make_shared<UTraceConfig>(
          n, std::make_shared<UTraceProxy>(&table, r.mailbox, kUtraceRoutine, lost));
      for (const Point& p : a.points) {
        r.uTraceIndex[p.id] = r.uTracePoints.size();
        r.uTracePoints.push_back({p.name, p.id, p.isDefault, p.isDefault});
      }
    }
    return r;
  }

  // Brings the model's masks to what the profiles give, as the connect does, without a send.
  void settle(uint16_t n) { DaxoTraceModel::get(n).traceObjectManager.controller->getChanges(); }

  uint32_t mask(uint16_t n, const std::string& object) {
    for (const TraceObjectEntry& e : DaxoTraceModel::get(n).traceObjects)
      if (e.name == object) return e.mask;
    ADD_FAILURE() << "no object " << object;
    return 0;
  }

  // A request that reached an agent, decoded.
  struct Request {
    uint16_t routine = 0;  // the agent routine it went to
    uint16_t replyTo = 0;  // the waiting routine of the service
    std::vector<TraceObjectMask> masks;
    std::vector<UtraceChange> utrace;
  };
  std::vector<Request> takeRequests(uint16_t n) {
    std::vector<Request> out;
    while (auto m = pxm.popSent(agentMailbox[n])) {
      Request req;
      req.routine = m->dstRoutineId;
      req.replyTo = m->srcRoutineId;
      const uint16_t count = m->be16(12);
      if (m->dstRoutineId == kObjectRoutine) {
        EXPECT_EQ(m->size, 14u + 6u * count);
        for (uint16_t i = 0; i < count; ++i)
          req.masks.push_back({m->be16(14 + 6 * i), m->be32(16 + 6 * i)});
      } else {
        EXPECT_EQ(m->size, 14u + 4u * count);
        for (uint16_t i = 0; i < count; ++i)
          req.utrace.push_back({m->be16(14 + 4 * i), (m->be16(16 + 4 * i) & 1) != 0});
      }
      out.push_back(req);
    }
    return out;
  }
  void confirm(uint16_t n, const Request& req) {
    pxm.injectObs(agentMailbox[n], req.replyTo, req.routine, 1);
    run();
  }
  // Confirms whatever reaches the agent until it asks for nothing more; gives what it got.
  std::vector<Request> confirmAll(uint16_t n) {
    std::vector<Request> all;
    for (std::vector<Request> got = takeRequests(n); !got.empty(); got = takeRequests(n)) {
      for (const Request& r : got) {
        all.push_back(r);
        confirm(n, r);
      }
    }
    return all;
  }
  // The agent dies: its record says so and its lost event goes round.
  void lose(uint16_t n) {
    DaxoRecord& r = DaxoTraceModel::get(n);
    r.connected = false;
    pxm.kill(agentMailbox[n]);
    table.sendEvent(r.lostEvent->getId());
    run();
  }

  // How the command ended: its result and its text; "running" and the text while it runs.
  std::string ended() {
    const Answer a = answer();
    return (a.result ? std::to_string(*a.result) : std::string("running")) + ": " + a.text;
  }

  std::map<uint16_t, pxm_mbox_id_t> agentMailbox;
};

}  // namespace kvn::testing
