#include "service/trace_controller_options.h"

#include <gtest/gtest.h>

#include <vector>

#include "tracing/log_capture.h"

namespace {

using kvn::log::Level;
using kvn::log::LogCapture;

int readOptions(TraceControllerOptions& options, std::vector<const char*> args) {
  args.insert(args.begin(), "kvn-tracecontroller");
  return options.read(static_cast<int>(args.size()), args.data());
}

const char kXihTail[] =
    ": To start TraceController in XIH mode, use --instancename, --mailboxname and --lmcpath "
    "with proper values. Aborting start.";

// The defaults, and an unknown option's exit: e2e TraceControllerProcessTest.
TEST(TraceControllerOptions, ValuesOfEveryOption) {
  TraceControllerOptions given;
  ASSERT_EQ(readOptions(given, {"--instancename", "tc2", "--mailboxname=mb", "--lmcpath", "/l",
                                "--namespace", ""}),
            0);
  EXPECT_EQ(given.instanceName, "tc2");
  EXPECT_EQ(given.mailboxName, "mb");
  EXPECT_EQ(given.lmcPath, "/l");
  EXPECT_EQ(given.nameSpace, "");
}

TEST(TraceControllerOptions, MissingArgumentGivesTheXihText) {
  LogCapture cap;
  TraceControllerOptions options;
  EXPECT_EQ(readOptions(options, {"--mailboxname"}), -1);
  EXPECT_TRUE(cap.has(Level::Error, std::string("--mailboxname: missing argument") + kXihTail));
}

}  // namespace
