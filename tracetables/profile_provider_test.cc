#include "tracetables/profile_provider.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "lmc-tool/lmc_writer.h"
#include "lmc-tool/table_blob_writer.h"
#include "tracetables/bad_lmc_exception.h"
#include "tracetables/bad_profile_exception.h"
#include "tracetables/invalid_probe_exception.h"
#include "tracetables/profile_lmc_reader.h"
#include "tracetables/trace_lmc_reader.h"
#include "util/testing/scratch_dir.h"

namespace {

using kvn::lmc::LmcWriter;
using kvn::lmc::LmDefinition;
using kvn::lmc::TableBlobWriter;
using kvn::testing::ScratchDir;
using kvntrace::Profile;
using kvntrace::ProfileProvider;
using Strings = std::vector<std::string>;

class ProfileProviderTest : public ::testing::Test {
 protected:
  // A container whose profile module holds `tables` in this order.
  std::string container(const std::vector<std::pair<std::string, Strings>>& tables) {
    TableBlobWriter blob;
    for (const auto& t : tables) blob.addStringTable(t.first, t.second);
    LmDefinition m;
    m.identity = "bbDiagProfiles";
    m.compression = 1;
    m.content = blob.build();
    LmcWriter w;
    w.addModule(m);
    w.writeFile(dir.file("c.lmc"));
    return dir.file("c.lmc");
  }

  ScratchDir dir;
};

TEST_F(ProfileProviderTest, FlightRecorderEntryNamesAnotherProfile) {
  ProfileProvider provider(container({{"Sched", {"*;*;*Scheduler.trace1"}},
                                      {".flight_recorder", {"Fr"}},
                                      {"Fr", {"*;*;*.error", "*;2;x.*"}}}));
  provider.populate();
  EXPECT_EQ(provider.getProfileNames(), (Strings{"DefaultProfile", "Fr", "Sched"}));
  const Profile fr = provider.getFlightRecorderProfile();
  EXPECT_EQ(fr.getName(), "Fr");
  EXPECT_EQ(fr.getTraceProbes().size(), 2u);
  // The reserved entry itself holds the probes of the profile it names.
  const Profile entry = provider.getProfile(".flight_recorder");
  EXPECT_EQ(entry.getName(), ".flight_recorder");
  EXPECT_EQ(entry.getTraceProbes(), fr.getTraceProbes());
  EXPECT_EQ(provider.getProfile("DefaultProfile"),
            Profile("DefaultProfile", kvntrace::TraceLmcReader::defaultProfileLines()));
}

TEST_F(ProfileProviderTest, WithoutFlightRecorderTheProfileIsEmpty) {
  ProfileProvider provider(container({{"Sched", {"*;*;a.*"}}}));
  provider.populate();
  EXPECT_EQ(provider.getFlightRecorderProfile(), Profile());
  EXPECT_EQ(provider.getProfileNames(), (Strings{"DefaultProfile", "Sched"}));
}

TEST_F(ProfileProviderTest, UnknownNamesAndPathsRaise) {
  ProfileProvider unread(dir.file("missing.lmc"));
  EXPECT_TRUE(unread.getProfileNames().empty());  // not populated yet
  try {
    unread.populate();
    FAIL();
  } catch (const kvntrace::BadLmcException& e) {
    EXPECT_STREQ(e.what(), ("Bad LMC path " + dir.file("missing.lmc")).c_str());
  }
  try {
    unread.getProfile("Nope");
    FAIL();
  } catch (const kvntrace::BadProfileException& e) {
    EXPECT_STREQ(e.what(), "Invalid profile name Nope");
  }
}

TEST_F(ProfileProviderTest, ABadLineStopsPopulateKeepingEarlierProfiles) {
  ProfileProvider provider(
      container({{"A", {"*;*;a.*"}}, {"B", {"*;*;b.*", "*;b"}}, {"C", {"*;*;c.*"}}}));
  EXPECT_THROW(provider.populate(), kvntrace::InvalidProbeException);
  EXPECT_EQ(provider.getProfileNames(), (Strings{"A"}));  // name order: A, B, C, DefaultProfile
}

TEST_F(ProfileProviderTest, FlightRecorderNamingNoProfileRaisesOutOfRange) {
  const std::string path = container({{".flight_recorder", {"Gone"}}, {"A", {"*;*;a.*"}}});
  kvntrace::TraceLmcReader reader(path);
  kvntrace::ProfileLmcReader lines(reader);
  EXPECT_EQ(lines.getProfileNames(), (Strings{".flight_recorder", "A", "DefaultProfile"}));
  EXPECT_EQ(lines.getFlightRecorderName(), "Gone");
  EXPECT_THROW(lines.getProfileLines(".flight_recorder"), std::out_of_range);
  EXPECT_THROW(lines.getProfileLines("B"), std::out_of_range);
  ProfileProvider provider(path);
  EXPECT_THROW(provider.populate(), std::out_of_range);
}

}  // namespace
