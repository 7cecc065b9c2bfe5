// Parses the input as the table blob of a load module: the names, then tables by name.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tracetables/table_blob_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view blob(reinterpret_cast<const char*>(data), size);
  // Each extraction lists the names again; a few of them cover every path.
  const std::vector<std::string> names = kvntrace::TableBlobParser::listTableNames(blob);
  for (size_t i = 0; i < names.size() && i < 8; ++i) {
    kvntrace::TableBlobParser::extractStringTable(blob, names[i]);
  }
  kvntrace::TableBlobParser::extractStringTable(blob, "traceobjname");
  return 0;
}
