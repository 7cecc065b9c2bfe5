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

// The defaults, and an unknown option's exit: e2e TraceControllerProcessTest.
TEST(TraceControllerOptions, ValuesOfEveryOptionAndAMissingOne) {
  TraceControllerOptions given;
  ASSERT_EQ(readOptions(given, {"--instancename", "tc2", "--mailboxname=mb", "--lmcpath", "/l",
                                "--namespace", ""}),
            0);
  EXPECT_EQ(given.instanceName, "tc2");
  EXPECT_EQ(given.mailboxName, "mb");
  EXPECT_EQ(given.lmcPath, "/l");
  EXPECT_EQ(given.nameSpace, "");

  // A missing argument ends the read with the XIH text.
  LogCapture cap;
  TraceControllerOptions lacking;
  EXPECT_EQ(readOptions(lacking, {"--mailboxname"}), -1);
  EXPECT_TRUE(cap.has(Level::Error,
                      "--mailboxname: missing argument: To start TraceController in XIH mode, use "
                      "--instancename, --mailboxname and --lmcpath with proper values. Aborting "
                      "start."));
}

}  // namespace
