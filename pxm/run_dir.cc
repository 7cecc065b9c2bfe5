#include "pxm/run_dir.h"

#include <sys/un.h>

#include <cstdlib>
#include <cstring>

namespace pxm {

const char* const RunDir::kDefaultDir = PXM_DEFAULT_RUNDIR;

std::string RunDir::directory() {
  const char* env = std::getenv("PXM_RUNDIR");
  return env && *env ? std::string(env) : std::string(kDefaultDir);
}

bool RunDir::validNamespace(const char* name) {
  if (!name || !*name) return true;
  const size_t len = std::strlen(name);
  if (len > 64 || name[0] == '.') return false;
  for (size_t i = 0; i < len; ++i) {
    const char c = name[i];
    const bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                    c == '.' || c == '_' || c == '-';
    if (!ok) return false;
  }
  return true;
}

std::string RunDir::namespaceName(const char* name) {
  return name && *name ? std::string(name) : std::string(kDefaultNamespace);
}

std::string RunDir::socketPath(const std::string& dir, const char* ns) {
  std::string path = dir + "/" + namespaceName(ns) + ".hub";
  if (path.size() >= sizeof(sockaddr_un{}.sun_path)) return std::string();
  return path;
}

std::string RunDir::lockPath(const std::string& dir, const char* ns) {
  return dir + "/" + namespaceName(ns) + ".lock";
}

}  // namespace pxm
