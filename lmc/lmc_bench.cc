// Extraction of a large module, compressed and stored, against plain zlib inflate and plain
// memcpy measured in the same run; and the opening of a container of 500 modules with a
// look-up. Inflate has two baselines: into fresh memory, allocated each time as a function that
// returns a new string must, which is the limit of extraction; and into memory touched before
// timing, which leaves out the page faults. --module_mib=N sets the module size (default 64).

#include <benchmark/benchmark.h>
#include <sys/mman.h>
#include <unistd.h>
#include <zlib.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "bench/ratio_reporter.h"
#include "lmc-tool/lmc_writer.h"
#include "lmc/kvn_cpm_common_lm_hdl_lmc.h"

namespace {

size_t g_moduleBytes = size_t{64} << 20;

// Trace-like text: repeated words with varying numbers, which deflates about as real
// metadata and images do (neither all zeros nor noise).
std::string makeContent(size_t size) {
  static const char* words[] = {"ulScheduler", "grant", "ue", "prb", "dlScheduler", "mcs",
                                "harq",        "retx",  "ok", "cm",  "pool",        "block"};
  std::mt19937 rng(42);
  std::string s;
  s.reserve(size + 64);
  while (s.size() < size) {
    s += words[rng() % 12];
    s += ' ';
    s += std::to_string(rng() % 100000);
    s += (rng() % 8 == 0) ? '\n' : ' ';
  }
  s.resize(size);
  return s;
}

struct Fixture {
  std::string dir;
  std::string compressedPath;
  std::string plainPath;
  std::string manyPath;
  std::string zlibStream;  // the compressed module's data
  size_t contentSize = 0;

  Fixture() {
    char tmpl[] = "/tmp/lmc_bench.XXXXXX";
    dir = mkdtemp(tmpl);
    const std::string content = makeContent(g_moduleBytes);
    contentSize = content.size();

    kvn::lmc::LmDefinition z;
    z.identity = "big_zlib";
    z.compression = 1;
    z.content = content;
    zlibStream = kvn::lmc::LmcWriter::encodeData(z);
    kvn::lmc::LmcWriter compressed;
    compressed.addModule(z);
    compressedPath = dir + "/compressed.lmc";
    compressed.writeFile(compressedPath);

    kvn::lmc::LmDefinition p;
    p.identity = "big_plain";
    p.content = content;
    kvn::lmc::LmcWriter plain;
    plain.addModule(p);
    plainPath = dir + "/plain.lmc";
    plain.writeFile(plainPath);

    kvn::lmc::LmcWriter many;
    for (int i = 0; i < 500; ++i) {
      kvn::lmc::LmDefinition m;
      m.identity = "daxo_module_" + std::to_string(i);
      m.content = std::string(256, static_cast<char>('a' + i % 26));
      many.addModule(m);
    }
    manyPath = dir + "/many.lmc";
    many.writeFile(manyPath);
  }

  ~Fixture() {
    unlink(compressedPath.c_str());
    unlink(plainPath.c_str());
    unlink(manyPath.c_str());
    rmdir(dir.c_str());
  }
};

Fixture& fixture() {
  static Fixture f;
  return f;
}

void BM_ExtractCompressed(benchmark::State& state) {
  Fixture& f = fixture();
  for (auto _ : state) {
    KvnCpmCommon_lmHdlLmc lmc(f.compressedPath);
    std::string out;
    if (!lmc.saveToString("big_zlib", out, false) || out.size() != f.contentSize) {
      state.SkipWithError("extraction failed");
      break;
    }
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * f.contentSize));
}
BENCHMARK(BM_ExtractCompressed)->Unit(benchmark::kMillisecond)->UseRealTime();

bool inflateInto(const std::string& stream, unsigned char* out, size_t size) {
  z_stream strm;
  std::memset(&strm, 0, sizeof strm);
  inflateInit(&strm);
  strm.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(stream.data()));
  strm.avail_in = static_cast<uInt>(stream.size());
  strm.next_out = out;
  strm.avail_out = static_cast<uInt>(size);
  const int rc = inflate(&strm, Z_FINISH);
  inflateEnd(&strm);
  return rc == Z_STREAM_END;
}

// The huge page advice that extraction gives its output.
void adviseHugePages(void* p, size_t len) {
  constexpr uintptr_t kHuge = 2 * 1024 * 1024;
  const uintptr_t begin = (reinterpret_cast<uintptr_t>(p) + kHuge - 1) & ~(kHuge - 1);
  const uintptr_t end = (reinterpret_cast<uintptr_t>(p) + len) & ~(kHuge - 1);
  if (end > begin) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
}

void BM_InflateFresh(benchmark::State& state) {
  Fixture& f = fixture();
  const size_t size = f.contentSize + 12;
  for (auto _ : state) {
    std::unique_ptr<unsigned char[]> out(new unsigned char[size]);
    adviseHugePages(out.get(), size);
    if (!inflateInto(f.zlibStream, out.get(), size)) {
      state.SkipWithError("inflate failed");
      break;
    }
    benchmark::DoNotOptimize(out.get());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * f.contentSize));
}
BENCHMARK(BM_InflateFresh)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_InflateTouched(benchmark::State& state) {
  Fixture& f = fixture();
  std::vector<unsigned char> out(f.contentSize + 12);
  std::memset(out.data(), 0, out.size());
  for (auto _ : state) {
    if (!inflateInto(f.zlibStream, out.data(), out.size())) {
      state.SkipWithError("inflate failed");
      break;
    }
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * f.contentSize));
}
BENCHMARK(BM_InflateTouched)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ExtractPlain(benchmark::State& state) {
  Fixture& f = fixture();
  for (auto _ : state) {
    KvnCpmCommon_lmHdlLmc lmc(f.plainPath);
    std::string out;
    if (!lmc.saveToString("big_plain", out, false) || out.size() != f.contentSize) {
      state.SkipWithError("extraction failed");
      break;
    }
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * f.contentSize));
}
BENCHMARK(BM_ExtractPlain)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_MemcpyBaseline(benchmark::State& state) {
  Fixture& f = fixture();
  const std::string src = makeContent(f.contentSize);
  std::vector<char> dst(src.size());
  std::memset(dst.data(), 0, dst.size());
  for (auto _ : state) {
    std::memcpy(dst.data(), src.data(), src.size());
    benchmark::DoNotOptimize(dst.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * f.contentSize));
}
BENCHMARK(BM_MemcpyBaseline)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_OpenAndFind500(benchmark::State& state) {
  Fixture& f = fixture();
  for (auto _ : state) {
    KvnCpmCommon_lmHdlLmc lmc(f.manyPath);
    std::string id = "DAXO_MODULE_ 499";  // matches only loosely
    if (!lmc.findIdentity(id)) {
      state.SkipWithError("identity not found");
      break;
    }
    benchmark::DoNotOptimize(id.data());
  }
}
BENCHMARK(BM_OpenAndFind500)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  std::vector<char*> args;
  for (int i = 0; i < argc; ++i) {
    const char* flag = "--module_mib=";
    if (std::strncmp(argv[i], flag, std::strlen(flag)) == 0) {
      g_moduleBytes = std::strtoull(argv[i] + std::strlen(flag), nullptr, 10) << 20;
    } else {
      args.push_back(argv[i]);
    }
  }
  int n = static_cast<int>(args.size());
  benchmark::Initialize(&n, args.data());
  if (benchmark::ReportUnrecognizedArguments(n, args.data())) return 1;
  // Baseline time over subject time: the subject's speed as a share of its baseline's. Each
  // runs on one thread, so its CPU time is its cost, also on a machine that others load.
  kvn::bench::RatioReporter reporter(
      kvn::bench::RatioReporter::Clock::kCpu,
      {{"extraction / inflate into fresh memory", "BM_InflateFresh", "BM_ExtractCompressed"},
       {"extraction / inflate into touched memory", "BM_InflateTouched", "BM_ExtractCompressed"},
       {"plain extraction / memcpy", "BM_MemcpyBaseline", "BM_ExtractPlain"}});
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
