// Decoding a 64 MiB recorder dump against reading the file alone, in the same run: the ratio is
// what the decoding costs on top of the reading. The dump holds trace object records of two
// arguments and utrace records, as a recording of lpp would, and the text goes nowhere.
//
// --smoke decodes 4 MiB instead.

#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "bench/ratio_reporter.h"
#include "bench/smoke_flag.h"
#include "decode/agent_tables.h"
#include "decode/dump_file.h"
#include "decode/record_decoder.h"

namespace {

size_t g_bytes = 64u << 20;

// A trace object record (ulScheduler trace1, "ue %d prb %d") and a utrace record, as the
// simulated agent writes them; the sequence at offset 6 is set for each copy.
const std::vector<uint8_t> kRecords = {
    0x00, 0x26, 0x01, 0x04, 0x01, 0x05, 0x00, 0x00, 0x00, 0x30, 0x40, 0x50, 0x65,
    0x00, 0x00, 0x01, 0x00, 0x01, 0x02, 0x03, 0x00, 0x01, 0x00, 0x01, 0x00, 0x03,
    0x00, 0x00, 0x00, 0x07, 0x00, 0x00, 0x00, 0x2A, 0x00, 0x00, 0x01, 0x00,  // 38 bytes
    0x00, 0x26, 0x02, 0x04, 0x01, 0xFF, 0x00, 0x00, 0x00, 0x30, 0x40, 0x50, 0x65,
    0x00, 0x00, 0x01, 0x00, 0x01, 0x02, 0x03, 0x00, 0x02, 0x00, 0x02, 0x00, 0x03,
    0x00, 0x00, 0x00, 0x10, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01,  // 38 bytes
};

kvn::decode::AgentTables tables() {
  kvn::decode::AgentTables t;
  t.objectNames = {"obj", "ulScheduler"};
  t.formats = {"obj %d", "ulScheduler: ue %d prb %d"};
  t.strings = {"boot done", "grant for ue %d: %d prbs", "alloc of %u bytes"};
  t.utrace = {{1, "ulScheduler.grant"}, {2, "ulScheduler.alloc"}};
  return t;
}

// The dump file, written once for the run.
class Dump {
 public:
  static const Dump& get() {
    static Dump dump;
    return dump;
  }
  ~Dump() { unlink(path_.c_str()); }
  const std::string& path() const { return path_; }

 private:
  Dump() {
    char name[] = "/tmp/kvn-decode-bench-XXXXXX";
    const int fd = mkstemp(name);
    path_ = name;
    std::vector<uint8_t> bytes(kRecords.size() * (g_bytes / kRecords.size()));
    uint16_t seq = 0;
    for (size_t at = 0; at < bytes.size(); at += kRecords.size(), ++seq) {
      std::copy(kRecords.begin(), kRecords.end(), bytes.begin() + static_cast<long>(at));
      bytes[at + 6] = bytes[at + 38 + 6] = static_cast<uint8_t>(seq >> 8);
      bytes[at + 7] = bytes[at + 38 + 7] = static_cast<uint8_t>(seq);
    }
    for (size_t done = 0; fd >= 0 && done < bytes.size();) {
      const ssize_t n = write(fd, bytes.data() + done, bytes.size() - done);
      if (n <= 0) break;
      done += static_cast<size_t>(n);
    }
    if (fd >= 0) close(fd);
  }
  std::string path_;
};

void BM_ReadDump(benchmark::State& state) {
  const Dump& dump = Dump::get();
  size_t bytes = 0;
  for (auto _ : state) {
    const std::vector<uint8_t> data =
        kvn::decode::DumpFile::read(dump.path(), kvn::decode::DumpFile::Encoding::kRaw);
    bytes = data.size();
    benchmark::DoNotOptimize(data.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}

void BM_DecodeDump(benchmark::State& state) {
  const Dump& dump = Dump::get();
  const kvn::decode::AgentTables t = tables();
  size_t bytes = 0;
  for (auto _ : state) {
    const std::vector<uint8_t> data =
        kvn::decode::DumpFile::read(dump.path(), kvn::decode::DumpFile::Encoding::kRaw);
    std::string out;
    kvn::decode::RecordDecoder decoder(t, kvn::decode::RecordDecoder::Output::kText, out);
    decoder.setOnFull([&out] { out.clear(); });
    decoder.decode(data.data(), data.size());
    decoder.summary();
    if (decoder.unreadable() != 0) return state.SkipWithError("the dump did not decode");
    bytes = data.size();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}

BENCHMARK(BM_ReadDump)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DecodeDump)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  if (kvn::bench::SmokeFlag::take(argc, argv)) g_bytes = 4u << 20;
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  kvn::bench::RatioReporter reporter(
      kvn::bench::RatioReporter::Clock::kReal,
      {{"decode time / read time of the dump", "BM_DecodeDump", "BM_ReadDump"}});
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
