// Opens the input as a container and extracts every module it holds, both ways.

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "lmc/kvn_cpm_common_lm_hdl_lmc.h"

namespace {

// The container reader takes a path; a memory file spares the disk.
const std::string& inputPath() {
  static const std::string path = [] {
    const int fd = memfd_create("kvn_lmc_fuzz", 0);
    return fd < 0 ? std::string() : "/proc/self/fd/" + std::to_string(fd);
  }();
  return path;
}

int inputFd() { return std::stoi(inputPath().substr(inputPath().rfind('/') + 1)); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (inputPath().empty()) return 0;
  const int fd = inputFd();
  if (ftruncate(fd, 0) != 0 || pwrite(fd, data, size, 0) != static_cast<ssize_t>(size)) return 0;

  for (bool gzip : {false, true}) {
    KvnCpmCommon_lmHdlLmc lmc(inputPath());
    for (const auto& entry : lmc.getLms()) {
      std::string out;
      lmc.saveToString(entry.first, out, gzip);
      std::string id = entry.first;
      lmc.findIdentity(id);
      lmc.getLmDataAddr(entry.first);
    }
  }
  return 0;
}
