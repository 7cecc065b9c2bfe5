#pragma once
// Builds the table blob that a metadata or profile module carries: a directory of named
// tables, the names as a string table, then the tables, each a count and NUL-ended strings.

#include <cstdint>
#include <string>
#include <vector>

namespace kvn::lmc {

class TableBlobWriter {
 public:
  static constexpr uint32_t kStringTable = 0;

  // Tables keep the order in which they are added. Raises std::invalid_argument for a string
  // with a NUL in it.
  void addStringTable(const std::string& name, const std::vector<std::string>& strings) {
    addTable(name, kStringTable, strings);
  }
  // A table of another type, laid out like a string table; readers skip such tables.
  void addTable(const std::string& name, uint32_t type, const std::vector<std::string>& strings);

  std::string build() const;

 private:
  struct Table {
    std::string name;
    uint32_t type;
    std::vector<std::string> strings;
  };
  std::vector<Table> m_tables;
};

}  // namespace kvn::lmc
