#include "service/datapath/dest_cmd_parser.h"

#include <gtest/gtest.h>

#include "service/datapath/tn_test_fixture.h"
#include "util/cmd/output_cmd_session.h"

namespace kvn {
namespace {

class DestCmdParserTest : public kvn::testing::TnTestFixture {
 protected:
  // The text and result of `zoth dest <args>`, the parser's or the session's.
  std::pair<std::string, int> dest(const std::vector<std::string>& args) {
    const Answer a = command(parser.parse(args));
    return {a.text, a.result.value_or(-1)};
  }
  // An error answer: the lines, then the usage.
  std::pair<std::string, int> failure(const std::string& lines) {
    return {lines + parser.usage() + "\n", 1};
  }

  DestCmdParser parser;
};

TEST_F(DestCmdParserTest, AddThenListShowsTheTable) {
  EXPECT_EQ(dest({"list"}), std::make_pair(std::string("No destinations are defined\n"), 0));
  EXPECT_EQ(dest({"add", "net1", "127.0.0.1", "5000", "ManagedElement=1"}),
            std::make_pair(std::string(), 0));
  EXPECT_EQ(dest({"add", "b6", "fe80::1.2.3.4", "0", "ManagedElement=10,Foo", "-m", "100"}),
            std::make_pair(std::string(), 0));
  const std::string head =
      "Name                               IP Address                               Port  "
      "Max stream rate [kb/s]  LDN\n";
  EXPECT_EQ(dest({"list"}).first,
            "Trace destinations\n\n" + head +
                "b6                                 fe80::1.2.3.4                            0     "
                "100                     ManagedElement=10,Foo\n"
                "net1                               127.0.0.1                                5000  "
                "100000000               ManagedElement=1\n");
  EXPECT_EQ(dest({"add", "net1", "127.0.0.1", "5000", "ManagedElement=1"}),
            failure("Destination already exists!\n"));
}

TEST_F(DestCmdParserTest, ANameCanFailSeveralChecksAndEveryCheckOfALineIsReported) {
  const std::string longDashed = std::string(30, 'a') + "-";
  EXPECT_EQ(dest({"add", longDashed, "1.2.3", "12x", "Foo"}),
            failure("Name length must be between 0 and 30 chars\n"
                    "Name can only consist of alphanumeric chars\n"
                    "Invalid IPv4 address: 1.2.3\n"
                    "port 12x is not a number\n"));
  EXPECT_EQ(dest({"add", std::string(30, 'a'), "localhost", "65536", "Foo"}),
            failure("Invalid IP address: localhost\nport 65536 is not in range [0, 65535]\n"));
  EXPECT_EQ(dest({"add", "n", "::1::2", "1", "Foo"}),
            failure("Invalid IPv6 address: ::1::2\n"
                    "LDN name is invalid. Must start with ManagedElement=1\n"));
  // The LDN must fit its 512-byte field with its terminator.
  EXPECT_EQ(dest({"add", "n", "1.2.3.4", "1", "ManagedElement=1," + std::string(494, 'x')}).second,
            0);
  EXPECT_EQ(dest({"add", "m", "1.2.3.4", "1", "ManagedElement=1," + std::string(495, 'x')}),
            failure("LDN name is too long: at most 511 characters\n"));
  EXPECT_FALSE(store().exists("m"));
}

TEST_F(DestCmdParserTest, TheRateIsCheckedFirstOnEverySubcommand) {
  const std::string low = "Max stream rate must be at least 100 kB/s\n";
  EXPECT_EQ(dest({"list", "-m", "99"}), failure(low));
  EXPECT_EQ(dest({"add", "x", "-m", "100000001"}),
            failure("Max stream rate must be less than 100 GB/s\ndest add expects 4 arguments\n"));
  EXPECT_EQ(dest({"bogus", "-m", "99"}), failure(low + "Error - Illegal command bogus\n"));
  EXPECT_EQ(dest({"add", "a", "1.2.3.4", "1", "ManagedElement=1", "-m", "100000000"}).second, 0);
  EXPECT_EQ(dest({"-m", "5"}), failure("Error - Wrong parameter count\n"));
  EXPECT_EQ(dest({"list", "--nope"}), failure("Unknown option --nope\n"));
  EXPECT_EQ(dest({"list", "-h", "x"}), std::make_pair(parser.usage() + "\n", 1));
  EXPECT_EQ(dest({"list", "x"}), failure("List does not expect any additional arguments\n"));
}

TEST_F(DestCmdParserTest, DeleteLooksOnlyForTheNameAndRefusesADestinationInUse) {
  EXPECT_EQ(dest({"delete"}), failure("Invalid usage of del\n"));
  EXPECT_EQ(dest({"del", std::string(31, '_')}),
            std::make_pair(std::string("Destination name not found\n"), 1));
  dest({"add", "net1", "127.0.0.1", "5000", "ManagedElement=1"});
  hello();
  route("net1");  // in use while its session is set up
  EXPECT_EQ(dest({"del", "net1"}),
            std::make_pair(std::string("Destination is in use! Please remove route first.\n"), 1));
  unroute();
  answer(agentGets(0), 2, cause(1));  // the unwinding alloc is refused: the session ends
  EXPECT_EQ(dest({"delete", "net1"}), std::make_pair(std::string(), 0));
  EXPECT_FALSE(store().exists("net1"));
}

}  // namespace
}  // namespace kvn
