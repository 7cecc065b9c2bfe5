#include "pxm/misuse.h"

#include <cerrno>
#include <cstdio>

namespace pxm {

void misuse(const char* function, const char* what) {
  std::fprintf(stderr, "pxm: %s: %s\n", function, what);
  errno = EINVAL;
}

}  // namespace pxm
