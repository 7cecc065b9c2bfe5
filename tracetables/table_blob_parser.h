#pragma once
// Reads the table blob of a load module: a count of tables, a directory of (type, offset)
// entries, a string table of their names and the tables themselves. Anything that would lead
// past the end of the blob is refused with an error log and an empty result.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kvntrace {

class TableBlobParser {
 public:
  static constexpr uint32_t kStringTableType = 0;

  // The strings of the string table at `offset`.
  static std::vector<std::string> parseStringTable(std::string_view blob, size_t offset);
  // The names of all tables, in directory order, whatever their type.
  static std::vector<std::string> listTableNames(std::string_view blob);
  // The strings of the string table called `name`; the first of equal names counts.
  static std::vector<std::string> extractStringTable(std::string_view blob,
                                                     const std::string& name);
};

}  // namespace kvntrace
