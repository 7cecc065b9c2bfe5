#include "lmc-tool/table_blob_writer.h"

#include <stdexcept>

#include "base/big_endian.h"

namespace kvn::lmc {

namespace {

void checkNoNul(const std::string& s) {
  if (s.find('\0') != std::string::npos) {
    throw std::invalid_argument("A table string may not hold a NUL byte");
  }
}

void appendStringTable(std::string& out, const std::vector<std::string>& strings) {
  appendBe32(out, static_cast<uint32_t>(strings.size()));
  for (const std::string& s : strings) {
    out += s;
    out.push_back('\0');
  }
}

}  // namespace

void TableBlobWriter::addTable(const std::string& name, uint32_t type,
                               const std::vector<std::string>& strings) {
  checkNoNul(name);
  for (const std::string& s : strings) checkNoNul(s);
  m_tables.push_back({name, type, strings});
}

std::string TableBlobWriter::build() const {
  std::string names;
  std::vector<std::string> nameList;
  for (const Table& t : m_tables) nameList.push_back(t.name);
  appendStringTable(names, nameList);

  std::string body;
  std::vector<uint32_t> offsets;
  const size_t bodyStart = 8 * (m_tables.size() + 1) + names.size();
  for (const Table& t : m_tables) {
    offsets.push_back(static_cast<uint32_t>(bodyStart + body.size()));
    appendStringTable(body, t.strings);
  }

  std::string out;
  out.reserve(bodyStart + body.size());
  appendBe32(out, 0);
  appendBe32(out, static_cast<uint32_t>(m_tables.size()));
  for (size_t i = 0; i < m_tables.size(); ++i) {
    appendBe32(out, m_tables[i].type);
    appendBe32(out, offsets[i]);
  }
  out += names;
  out += body;
  return out;
}

}  // namespace kvn::lmc
