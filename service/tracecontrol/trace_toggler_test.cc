#include "service/tracecontrol/trace_toggler.h"

#include <gtest/gtest.h>

#include "service/tracecontrol/log_test_fixture.h"

namespace kvn {
namespace {

// A lone utrace point and a profile: LogToggleCmdSessionTest.
class TraceTogglerTest : public kvn::testing::LogTestFixture {
 protected:
  TraceTogglerTest() {
    // "dup" is an object, a utrace point and a profile at once; "x.info" both an object's
    // group and a utrace point.
    Agent a{{"dup", "x", "a.b"}, {{"dup", 1, false}, {"x.info", 2, false}}};
    a.profiles["dup"] = {"*;*;x.trace9"};
    a.profiles["Prof"] = {"*;*;x.trace8"};
    addAgent(1, a);
    settle(1);
  }
  // What the toggle ended with so far; the callbacks may run after it has returned.
  std::string toggle(std::vector<std::string> names, bool enable) {
    result.clear();
    DaxoTraceModel::get(1).traceToggler->toggle(
        names, enable, [&] { result = "done"; },
        [&](const std::string& heading, const std::string& text) { result = heading + text; },
        [](const std::string&) {}, false);
    return result;
  }
  std::string result;
};

TEST_F(TraceTogglerTest, AnObjectNameWinsOverAUtracePointAndAProfileOfTheSameName) {
  EXPECT_EQ(toggle({"dup"}, false), "");  // waits for the confirm of the mask
  auto requests = confirmAll(1);
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].routine, kObjectRoutine);
  EXPECT_EQ(mask(1, "dup"), 0u);
  EXPECT_FALSE(DaxoTraceModel::get(1).uTracePoints[0].enabled);
  EXPECT_EQ(DaxoTraceModel::get(1).enabledProfiles.count("dup"), 0u);

  toggle({"x.info"}, false);  // the object x's group, not the utrace point
  requests = confirmAll(1);
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].routine, kObjectRoutine);
  EXPECT_FALSE(DaxoTraceModel::get(1).uTracePoints[1].enabled);
}

TEST_F(TraceTogglerTest, ObjectNamesWithDotsAndUnknownNames) {
  toggle({"a.b"}, false);  // "b" is no group: the whole name is the object
  confirmAll(1);
  EXPECT_EQ(mask(1, "a.b"), 0u);
  EXPECT_EQ(toggle({"a.b.info", "x.bogus"}, true),
            "The following traces/profiles are not applicable on daxo 1:\n  x.bogus\n");
  EXPECT_EQ(mask(1, "a.b"), 0u);
  EXPECT_TRUE(takeRequests(1).empty());
}

TEST_F(TraceTogglerTest, DisableCheckNamesTheFirstProfileNotEnabled) {
  auto check = [](const std::vector<std::string>& names) {
    std::string out;
    DaxoTraceModel::get(1).traceToggler->checkDisableable(
        names, [&](bool e, const std::string& t) { out = (e ? "error: " : "ok: ") + t; });
    return out;
  };
  EXPECT_EQ(check({"x", "Prof", "dup"}), "error: Prof is already disabled on daxo 1");
  EXPECT_EQ(check({"DefaultProfile", "x"}), "ok: ");
}

}  // namespace
}  // namespace kvn
