#include "bench/smoke_flag.h"

#include <string.h>

namespace kvn::bench {

bool SmokeFlag::take(int& argc, char** argv) {
  for (int i = 1; i < argc; ++i)
    if (strcmp(argv[i], "--smoke") == 0) {
      for (int j = i; j + 1 < argc; ++j) argv[j] = argv[j + 1];
      --argc;
      return true;
    }
  return false;
}

}  // namespace kvn::bench
