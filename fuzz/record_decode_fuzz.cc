// The decoder of the simulated agent's trace records on untrusted bytes. The first byte picks
// the road: 0 a dump as text, 1 a dump as JSON, 2 a stream of datagrams (each a 16-bit
// big-endian size and its bytes), 3 base64 text of a dump. The container's tables hold formats
// that only a printf-safe formatter survives.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "decode/agent_tables.h"
#include "decode/dump_file.h"
#include "decode/record_decoder.h"

namespace {

const kvn::decode::AgentTables& tables() {
  static const kvn::decode::AgentTables t = [] {
    kvn::decode::AgentTables a;
    a.objectNames = {"obj", "ulScheduler", "bad\nname"};
    a.formats = {"obj %d", "ue %d prb %s %n", "%*d %1$x %.9999d %lld %c%%"};
    a.strings = {"boot done", "grant %p %u", "%"};
    a.utrace = {{1, "ulScheduler.grant"}, {2, "ulScheduler.alloc"}};
    return a;
  }();
  return t;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  using kvn::decode::RecordDecoder;
  const uint8_t mode = data[0] % 4;
  const uint8_t* rest = data + 1;
  const size_t n = size - 1;
  std::string out;
  RecordDecoder decoder(
      tables(), mode == 1 ? RecordDecoder::Output::kJson : RecordDecoder::Output::kText, out);
  decoder.setOnFull([&out] { out.clear(); });
  if (mode == 2) {
    for (size_t at = 0; at + 2 <= n;) {
      const size_t len = std::min<size_t>(rest[at] << 8 | rest[at + 1], n - at - 2);
      decoder.decodeDatagram(rest + at + 2, len);
      at += 2 + len;
    }
  } else if (mode == 3) {
    const std::vector<uint8_t> text(rest, rest + n);
    try {
      const std::vector<uint8_t> bytes = kvn::decode::DumpFile::decodeBase64(text);
      decoder.decode(bytes.data(), bytes.size());
    } catch (const kvn::decode::DumpFile::Error&) {
    }
  } else {
    decoder.decode(rest, n);
  }
  decoder.summary();
  return 0;
}
