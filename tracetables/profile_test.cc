#include "tracetables/profile.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tracetables/invalid_probe_exception.h"

namespace {

using kvntrace::InvalidProbeException;
using kvntrace::Profile;
using kvntrace::SignalDirection;
using kvntrace::SignalProbe;
using kvntrace::TraceProbe;

std::string errorOf(const std::vector<std::string>& lines) {
  try {
    Profile p("p", lines);
  } catch (const InvalidProbeException& e) {
    return e.what();
  }
  return "";
}

TEST(Profile, SemicolonsAreCountedExactly) {
  EXPECT_EQ(errorOf({"*;*;*.check;x"}),
            "Could not parse to TraceProbe from rawProbe *;*;*.check;x");
  EXPECT_EQ(errorOf({"*;*.check"}), "Could not parse to TraceProbe from rawProbe *;*.check");
  EXPECT_EQ(errorOf({"signal:a;b;incoming"}),
            "Could not parse to SignalProbe from rawProbe a;b;incoming. Expected 3 semicolons, "
            "found 2");
  EXPECT_EQ(errorOf({"x;signal:a;b;c;d"}),
            "Could not parse to SignalProbe from rawProbe x;a;b;c;d. Expected 3 semicolons, "
            "found 4");
  EXPECT_EQ(errorOf({"*;*;*.check", "signal:a;b;outgoing;c", "*;*;*.info"}), "");
}

TEST(Profile, LinesBecomeSortedProbes) {
  Profile p("mix", {"i2;r2;zeta.*", "signal:sigB;r;incoming;i", "i1;r1;alpha.check",
                    "signal:sigA;r;sideways;i", "pre signal:sigC;r;outgoing;i"});
  ASSERT_EQ(p.getTraceProbes().size(), 2u);
  EXPECT_EQ(p.getTraceProbes()[0], TraceProbe("alpha.check", "i1", "r1"));
  EXPECT_EQ(p.getTraceProbes()[1], TraceProbe("zeta.*", "i2", "r2"));
  ASSERT_EQ(p.getSignalProbes().size(), 3u);
  // The marker is cut where it stands, whatever is before it.
  EXPECT_EQ(p.getSignalProbes()[0], SignalProbe("pre sigC", "i", "r", SignalDirection::Outgoing));
  EXPECT_EQ(p.getSignalProbes()[1], SignalProbe("sigA", "i", "r", SignalDirection::Other));
  EXPECT_EQ(p.getSignalProbes()[2], SignalProbe("sigB", "i", "r", SignalDirection::Incoming));
  EXPECT_TRUE(p.getTraceProbes()[0].isTraceProbe());
  EXPECT_FALSE(p.getSignalProbes()[0].isTraceProbe());
}

TEST(Profile, TracePointsMatchObjectDotGroup) {
  Profile p("p", {"*;*;*.check", "*;*;ulSched*.trace?", "*;*;plain"});
  EXPECT_TRUE(p.hasTraceProbe("abc", "check"));
  EXPECT_TRUE(p.hasTraceProbe("ulScheduler", "trace1"));
  EXPECT_FALSE(p.hasTraceProbe("ulScheduler", "trace10"));
  EXPECT_FALSE(p.hasTraceProbe("plain", "info"));  // no dot in the pattern
  EXPECT_TRUE(p.matchesTracePoint("plain"));
  EXPECT_TRUE(Profile("p", {"*;*;*"}).hasTraceProbe("plain", "info"));  // * spans the dot
  EXPECT_FALSE(Profile().matchesTracePoint("x"));
}

TEST(Profile, FilterKeepsTraceProbesOfTheInstanceAndRole) {
  Profile p("named",
            {"bb1/*;*;a.*", "bb2/*;*;b.*", "*;1?;c.*", "*;3;d.*", "signal:s;*;incoming;*"});
  Profile f = p.filter("bb1/dsp", 12);
  EXPECT_EQ(f.getName(), "");
  EXPECT_TRUE(f.getSignalProbes().empty());
  ASSERT_EQ(f.getTraceProbes().size(), 2u);
  EXPECT_EQ(f.getTraceProbes()[0].getTracePoint(), "a.*");
  EXPECT_EQ(f.getTraceProbes()[1].getTracePoint(), "c.*");
  EXPECT_EQ(p.filter("bb2/x", 3).getTraceProbes().size(), 2u);
}

TEST(Profile, EqualityComparesProbesAndName) {
  const std::vector<std::string> lines = {"*;*;*.check", "signal:s;r;outgoing;i"};
  EXPECT_EQ(Profile("a", lines), Profile("a", lines));
  EXPECT_NE(Profile("a", lines), Profile("b", lines));
  EXPECT_NE(Profile("a", lines), Profile("a", {"*;*;*.check", "signal:s;r;incoming;i"}));
  EXPECT_EQ(Profile(), Profile("", {}));
}

TEST(Profile, PrintsTraceProbesInColumns) {
  std::ostringstream os;
  os << Profile("p", {"*;1;ulScheduler.*", "bb1;*;*.check", "signal:s;r;incoming;i"});
  EXPECT_EQ(os.str(),
            "Instance            Role                Trace point or profile\n"
            "bb1                 *                   *.check\n"
            "*                   1                   ulScheduler.*\n");
}

}  // namespace
