// Parses the input as the table blob of a load module: the names, then every table by name.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "tracetables/table_blob_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view blob(reinterpret_cast<const char*>(data), size);
  for (const std::string& name : kvntrace::TableBlobParser::listTableNames(blob)) {
    kvntrace::TableBlobParser::extractStringTable(blob, name);
  }
  kvntrace::TableBlobParser::extractStringTable(blob, "traceobjname");
  return 0;
}
