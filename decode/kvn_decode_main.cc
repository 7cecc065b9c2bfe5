// kvn-decode: prints the simulated agent's trace records of a recorder dump, or of a stream
// read on a UDP address, one line a record, with the names and formats of the agent's
// container. See `kvn-decode --help` and man kvn-decode.

#include <getopt.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <string>
#include <vector>

#include "decode/agent_tables.h"
#include "decode/dump_file.h"
#include "decode/record_decoder.h"
#include "decode/udp_listener.h"

namespace {

volatile sig_atomic_t g_stop = 0;

void onStopSignal(int) { g_stop = 1; }

// Exit statuses.
constexpr int kAllRead = 0, kSomeUnreadable = 1, kUsage = 2;
constexpr int kWaitMs = 200;  // how long a stop request may wait

void usage(FILE* out) {
  fprintf(out,
          "usage: kvn-decode --lmc FILE [options] DUMP\n"
          "       kvn-decode --lmc FILE [options] --listen IP:PORT [--count N]\n"
          "Prints the trace records of the simulated agent (daxo-sim's format) one a line:\n"
          "time, frame number, agent, source, object, group and text; then the counts.\n"
          "DUMP is what `kvnsh --output FILE zoth recorder dump` wrote, or the base64 text\n"
          "kvnsh prints without --output; \"-\" reads standard input.\n"
          "  --lmc FILE        the agent's container: names, formats, trace strings\n"
          "  --module NAME     its load module (default: the container's only one)\n"
          "  --json            one JSON object a line instead of text\n"
          "  --raw, --base64   how DUMP is encoded (default: seen from its bytes)\n"
          "  --listen IP:PORT  read a stream of datagrams there until Ctrl-C (port 0: any\n"
          "                    free port, named on standard error)\n"
          "  --count N         with --listen, stop after N records\n"
          "  --help            this text\n"
          "Exit status: 0 every record was read, 1 some could not be (each is reported\n"
          "with its offset), 2 bad usage, or the container or input could not be read.\n");
}

void flush(std::string& out, bool now) {
  fwrite(out.data(), 1, out.size(), stdout);
  if (now) fflush(stdout);
  out.clear();
}

}  // namespace

int main(int argc, char** argv) {
  using kvn::decode::DumpFile;
  using kvn::decode::RecordDecoder;
  std::string lmc, module, listen;
  DumpFile::Encoding encoding = DumpFile::Encoding::kAuto;
  RecordDecoder::Output output = RecordDecoder::Output::kText;
  uint64_t count = 0;
  enum { kLmc = 1, kModule, kJson, kRaw, kBase64, kListen, kCount, kHelp };
  static const struct option longOptions[] = {{"lmc", required_argument, nullptr, kLmc},
                                              {"module", required_argument, nullptr, kModule},
                                              {"json", no_argument, nullptr, kJson},
                                              {"raw", no_argument, nullptr, kRaw},
                                              {"base64", no_argument, nullptr, kBase64},
                                              {"listen", required_argument, nullptr, kListen},
                                              {"count", required_argument, nullptr, kCount},
                                              {"help", no_argument, nullptr, kHelp},
                                              {nullptr, 0, nullptr, 0}};
  for (int c; (c = getopt_long(argc, argv, "", longOptions, nullptr)) != -1;) {
    switch (c) {
      case kLmc:
        lmc = optarg;
        break;
      case kModule:
        module = optarg;
        break;
      case kJson:
        output = RecordDecoder::Output::kJson;
        break;
      case kRaw:
        encoding = DumpFile::Encoding::kRaw;
        break;
      case kBase64:
        encoding = DumpFile::Encoding::kBase64;
        break;
      case kListen:
        listen = optarg;
        break;
      case kCount: {
        char* end = nullptr;
        count = strtoull(optarg, &end, 10);
        if (*optarg == '\0' || *end != '\0' || count == 0 || optarg[0] == '-') {
          fprintf(stderr, "kvn-decode: --count takes a number of records above 0\n");
          return kUsage;
        }
        break;
      }
      case kHelp:
        usage(stdout);
        return 0;
      default:
        usage(stderr);
        return kUsage;
    }
  }
  const bool dump = optind == argc - 1;
  if (lmc.empty() || dump == !listen.empty() || optind < argc - 1 ||
      (count != 0 && listen.empty())) {
    usage(stderr);
    return kUsage;
  }
  try {
    const kvn::decode::AgentTables tables = kvn::decode::AgentTables::load(lmc, module);
    std::string out;
    RecordDecoder decoder(tables, output, out);
    if (dump) {
      const std::vector<uint8_t> bytes = DumpFile::read(argv[optind], encoding);
      decoder.setOnFull([&out] { flush(out, false); });
      decoder.decode(bytes.data(), bytes.size());
    } else {
      kvn::decode::UdpListener socket(listen);
      decoder.setLimit(count);
      struct sigaction sa;
      memset(&sa, 0, sizeof sa);
      sa.sa_handler = onStopSignal;
      sigaction(SIGTERM, &sa, nullptr);
      sigaction(SIGINT, &sa, nullptr);
      fprintf(stderr, "kvn-decode: listening on %s\n", socket.address().c_str());
      std::vector<uint8_t> datagram(65536);
      while (!g_stop && !decoder.limitReached()) {
        const long n = socket.receive(datagram.data(), datagram.size(), kWaitMs);
        if (n < 0) continue;
        decoder.decodeDatagram(datagram.data(), static_cast<size_t>(n));
        flush(out, true);
      }
    }
    decoder.summary();
    flush(out, true);
    return decoder.unreadable() == 0 ? kAllRead : kSomeUnreadable;
  } catch (const std::exception& e) {
    fprintf(stderr, "kvn-decode: %s\n", e.what());
    return kUsage;
  }
}
