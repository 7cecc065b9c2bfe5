#include "tracing/log.h"

#include <gtest/gtest.h>

#include <string>

#include "tracing/log_capture.h"

namespace {

using kvn::log::Level;
using kvn::log::LogCapture;

TEST(Log, CapturedLineCarriesProviderLevelFileAndMessage) {
  LogCapture cap;
  TC_LOG_ERROR("*** No dispatcher for signal %d\n", 42);
  ASSERT_EQ(cap.lines().size(), 1u);
  const auto& l = cap.lines()[0];
  EXPECT_EQ(l.provider, "com_halvorne_kvn_tracectrl");
  EXPECT_EQ(l.event, "ERROR");
  EXPECT_EQ(l.level, Level::Error);
  EXPECT_EQ(l.msg, "*** No dispatcher for signal 42\n");
  EXPECT_EQ(l.fileAndLine.rfind("log_test.cc:", 0), 0u);
}

TEST(Log, MessageIsCutAt256Bytes) {
  LogCapture cap;
  std::string big(1000, 'x');
  CPMUTIL_LOG_INFO("%s", big.c_str());
  ASSERT_EQ(cap.lines().size(), 1u);
  EXPECT_EQ(cap.lines()[0].msg.size(), 255u);
}

TEST(Log, NothingIsFormattedWithoutTracepointOrSink) {
  // Without a capture and without KVN_LOG_STDERR the arguments are never evaluated.
  int evaluated = 0;
  auto touch = [&] {
    ++evaluated;
    return 1;
  };
  if (!kvn::log::LogSink::wants(Level::Debug)) {
    LMCREADER_LOG_DEBUG("%d", touch());
    EXPECT_EQ(evaluated, 0);
  }
  LogCapture cap;
  LMCREADER_LOG_DEBUG("%d", touch());
  EXPECT_EQ(evaluated, 1);
}

TEST(Log, ContainerReaderErrorsCarryTheirOwnEvent) {
  LogCapture cap;
  EQMH_ERROR("bad crc %u", 7u);
  EQMH_DEBUG("walk");
  ASSERT_EQ(cap.lines().size(), 2u);
  EXPECT_EQ(cap.lines()[0].event, "EqmhErrorEvent");
  EXPECT_EQ(cap.lines()[0].msg, "bad crc 7");
  EXPECT_EQ(cap.lines()[1].event, "EqmhLineDebugEvent");
}

}  // namespace
