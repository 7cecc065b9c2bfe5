#pragma once
// Where a namespace's hub listens: $PXM_RUNDIR (default PXM_DEFAULT_RUNDIR, a setting of the
// build: /tmp/pxm, or /run/pxm on a node where a service manager makes it) holds one socket per
// namespace, "<namespace>.hub", and the hub's lock file beside it. Both ends work the path
// out the same way from here.

#include <string>

namespace pxm {

class RunDir {
 public:
  static const char* const kDefaultDir;
  static constexpr const char* kDefaultNamespace = "default";

  // $PXM_RUNDIR when set and not empty, else the default.
  static std::string directory();

  // Null or empty means the default namespace. A name is 1 to 64 of [A-Za-z0-9._-] and does
  // not start with a dot, so that it is a plain file name.
  static bool validNamespace(const char* name);
  static std::string namespaceName(const char* name);

  // The socket path, or empty when it would not fit a Unix socket address.
  static std::string socketPath(const std::string& dir, const char* ns);
  static std::string lockPath(const std::string& dir, const char* ns);
};

}  // namespace pxm
