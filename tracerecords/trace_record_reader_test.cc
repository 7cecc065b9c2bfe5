// The record layout, checked against bytes written out by hand rather than by the simulator's
// writer, so that a change to either side shows.
#include "tracerecords/trace_record_reader.h"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

namespace kvn::tracerecords {
namespace {

using Status = TraceRecordReader::Status;

// A trace object record: 26 + 2 * 4 bytes.
const std::vector<uint8_t> kObjectRecord = {
    0x00, 0x22,              // length 34
    0x01, 0x04, 0x02, 0x05,  // trace object, lpp, agent 2, group 5 (trace1)
    0x01, 0x02,              // sequence 0x0102
    0x00, 0x30, 0x40, 0x50,  // bfn
    0x65, 0x00, 0x00, 0x01,  // seconds
    0x00, 0x0F, 0x42, 0x3F,  // microseconds 999999
    0x00, 0x03, 0x00, 0x07,  // object 3, format 7
    0x00, 0x02,              // two arguments
    0xFF, 0xFF, 0xFF, 0xFE,  // -2
    0x00, 0x00, 0x01, 0x00,  // 256
};

// "abc" from `zoth echo`, padded to a whole word.
const std::vector<uint8_t> kTextRecord = {0x00, 0x1E, 0x03, 0x04, 0x01, 0xFF, 0x00, 0x09, 0,   0,
                                          0,    1,    0,    0,    0,    2,    0,    0,    0,   3,
                                          0xFF, 0xFF, 0x00, 0x00, 0,    0,    'a',  'b',  'c', 0};

TEST(TraceRecordReaderTest, ReadsTheFieldsWhereTheLayoutPutsThem) {
  TraceRecord r;
  ASSERT_EQ(TraceRecordReader::read(kObjectRecord.data(), kObjectRecord.size(), r), Status::kOk);
  EXPECT_EQ(std::make_tuple(r.length, r.kind, r.source, r.agent, r.group, r.sequence),
            std::make_tuple(34, TraceRecord::kTraceObject, 4, 2, 5, 0x0102));
  EXPECT_EQ(std::make_tuple(r.bfn, r.seconds, r.microseconds, r.objectId, r.formatIndex),
            std::make_tuple(0x00304050u, 0x65000001u, 999999u, 3, 7));
  EXPECT_EQ(std::make_tuple(r.argCount, r.args[0], r.args[1], r.args[2]),
            std::make_tuple(2, 0xFFFFFFFEu, 256u, 0u));

  ASSERT_EQ(TraceRecordReader::read(kTextRecord.data(), kTextRecord.size(), r), Status::kOk);
  EXPECT_EQ(r.kind, TraceRecord::kText);
  EXPECT_EQ(r.objectId, TraceRecord::kNoObject);
  EXPECT_EQ(std::string(r.text, r.textSize), "abc");
  EXPECT_EQ(TraceRecordReader::sizeOf(TraceRecord::kText, 0, 3), kTextRecord.size());
  EXPECT_EQ(TraceRecordReader::sizeOf(TraceRecord::kUtrace, 3, 0), 38u);
}

TEST(TraceRecordReaderTest, RefusesWhatTheBytesDoNotHold) {
  TraceRecord r;
  const std::vector<uint8_t>& o = kObjectRecord;
  EXPECT_EQ(TraceRecordReader::read(o.data(), 25, r), Status::kShortHeader);
  EXPECT_EQ(TraceRecordReader::read(o.data(), o.size() - 2, r), Status::kPastTheData);
  EXPECT_EQ(r.length, 34u);
  auto changed = [&](size_t at, uint8_t value) {
    std::vector<uint8_t> b = o;
    b[at] = value;
    return TraceRecordReader::read(b.data(), b.size(), r);
  };
  EXPECT_EQ(changed(1, 0x21), Status::kBadLength);  // odd
  EXPECT_EQ(changed(1, 0x18), Status::kBadLength);  // shorter than a header
  EXPECT_EQ(changed(0, 0x80), Status::kBadLength);  // longer than any record
  EXPECT_EQ(changed(2, 0x04), Status::kBadKind);
  EXPECT_EQ(changed(3, 0x05), Status::kBadSource);
  EXPECT_EQ(changed(25, 0x03), Status::kBadArguments);  // three do not fit in 34 bytes
  EXPECT_EQ(changed(25, 0x01), Status::kBadArguments);  // one leaves four bytes over
}

}  // namespace
}  // namespace kvn::tracerecords
