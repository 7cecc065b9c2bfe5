#include "tests/e2e/pxm_hub.h"

#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>

#include "tests/e2e/programs.h"

namespace kvn::e2e {

namespace {

// The socket file appears at bind, a moment before the hub listens on it.
bool connectable(const std::string& path) {
  const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un addr{};
  addr.sun_family = AF_UNIX;
  std::strncpy(addr.sun_path, path.c_str(), sizeof addr.sun_path - 1);
  const bool ok = ::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0;
  ::close(fd);
  return ok;
}

}  // namespace

PxmHub::PxmHub(const RunDir& dir, const std::string& nameSpace, std::vector<std::string> args)
    : socketPath_(dir.pxmRunDir() + "/" + nameSpace + ".hub") {
  if (nameSpace != "default") args.insert(args.begin(), {"--namespace", nameSpace});
  process_ = std::make_unique<Process>(dir, "pxmd", programs::kPxmd, args);
  ok_ = eventually([this] { return connectable(socketPath_) || !process_->running(); }) &&
        process_->running();
}

OwnHub::OwnHub(std::vector<std::string> args, bool start) {
  ::setenv("PXM_RUNDIR", dir_.pxmRunDir().c_str(), 1);
  if (start) hub_ = std::make_unique<PxmHub>(dir_, "default", std::move(args));
}

}  // namespace kvn::e2e
