#include "daxo-sim/trace_record_writer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tracerecords/trace_record_reader.h"

namespace kvn::daxosim {
namespace {

using tracerecords::TraceRecord;
using tracerecords::TraceRecordReader;

// The (kind, object, group) of each record in `bytes`, as "k:id:group".
std::vector<std::string> items(const std::vector<uint8_t>& bytes) {
  std::vector<std::string> out;
  TraceRecord r;
  for (size_t at = 0; at < bytes.size(); at += r.length) {
    EXPECT_EQ(TraceRecordReader::read(&bytes[at], bytes.size() - at, r),
              TraceRecordReader::Status::kOk);
    if (r.length == 0) break;
    out.push_back(std::to_string(r.kind) + ":" + std::to_string(r.objectId) + ":" +
                  std::to_string(r.group));
  }
  return out;
}

TEST(TraceRecordWriterTest, TakesTurnsOverWhatIsEnabledNowAndWritesNothingElse) {
  std::map<uint16_t, uint32_t> masks = {{0, 0}, {3, 0x21}, {7, 0x4}};
  std::map<uint16_t, bool> differs = {{1, true}};  // point 1 switched off
  TraceRecordWriter writer(2, masks, differs, {{1, true}, {2, false}, {5, true}});
  const SimulatedBuffer::Time now{1700000000, 5, 0x123};
  std::vector<uint8_t> out;
  for (int i = 0; i < 5; ++i) ASSERT_TRUE(writer.next(4, now, out));
  EXPECT_EQ(items(out), (std::vector<std::string>{"1:3:0", "1:3:5", "1:7:2", "2:5:255", "1:3:0"}));

  // A change takes effect at the next record, which goes on from where the turn stood.
  masks[3] = 0;
  differs[5] = true;
  out.clear();
  ASSERT_TRUE(writer.next(4, now, out));
  ASSERT_TRUE(writer.next(4, now, out));
  EXPECT_EQ(items(out), (std::vector<std::string>{"1:7:2", "1:7:2"}));
  masks[7] = 0;
  out.clear();
  EXPECT_FALSE(writer.next(4, now, out));
  EXPECT_TRUE(out.empty());

  // A text goes in whatever is enabled, in the source's sequence.
  writer.text(4, "odd", now, out);
  TraceRecord r;
  ASSERT_EQ(TraceRecordReader::read(out.data(), out.size(), r), TraceRecordReader::Status::kOk);
  EXPECT_EQ(std::string(r.text, r.textSize), "odd");
  EXPECT_EQ(r.sequence, 7);
  EXPECT_EQ(r.agent, 2);
}

}  // namespace
}  // namespace kvn::daxosim
