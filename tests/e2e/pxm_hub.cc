#include "tests/e2e/pxm_hub.h"

#include <sys/stat.h>

#include <vector>

#include "tests/e2e/programs.h"

namespace kvn::e2e {

PxmHub::PxmHub(const RunDir& dir, const std::string& nameSpace)
    : socketPath_(dir.pxmRunDir() + "/" + nameSpace + ".hub") {
  std::vector<std::string> args;
  if (nameSpace != "default") args = {"--namespace", nameSpace};
  process_ = std::make_unique<Process>(dir, "pxmd", programs::kPxmd, args);
  ok_ = eventually([this] {
    struct stat st {};
    return ::stat(socketPath_.c_str(), &st) == 0 && S_ISSOCK(st.st_mode);
  });
}

}  // namespace kvn::e2e
