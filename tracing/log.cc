#include "tracing/log.h"

#include <cstring>

const char* kvnCpmUtilTraceProcField = "cpmutil";
uint32_t kvnCpmCommonTraceInstanceId = 0;

namespace kvn::log {

const char* baseName(const char* path) {
  const char* slash = std::strrchr(path, '/');
  return slash != nullptr ? slash + 1 : path;
}

}  // namespace kvn::log
