#include "tracetables/table_blob_parser.h"

#include <cstring>

#include "base/big_endian.h"
#include "tracing/log.h"

namespace kvntrace {

using kvn::loadBe32;

std::vector<std::string> TableBlobParser::parseStringTable(std::string_view blob, size_t offset) {
  std::vector<std::string> out;
  if (offset > blob.size() || blob.size() - offset < 4) {
    LMCREADER_LOG_ERROR("String table at offset %zu lies past the end of the blob of %zu bytes",
                        offset, blob.size());
    return out;
  }
  const uint32_t count = loadBe32(blob.data() + offset);
  LMCREADER_LOG_INFO("Parsing string table with %u strings", count);
  size_t pos = offset + 4;
  // Each string takes at least its NUL, which bounds the count before anything is reserved.
  if (count > blob.size() - pos) {
    LMCREADER_LOG_ERROR("String table of %u strings at offset %zu runs off the blob of %zu bytes",
                        count, offset, blob.size());
    return out;
  }
  out.reserve(count);
  for (uint32_t i = 0; i < count; ++i) {
    const void* nul = std::memchr(blob.data() + pos, '\0', blob.size() - pos);
    if (nul == nullptr) {
      LMCREADER_LOG_ERROR("String %u of the table at offset %zu runs off the blob of %zu bytes", i,
                          offset, blob.size());
      return {};
    }
    const size_t len = static_cast<const char*>(nul) - (blob.data() + pos);
    out.emplace_back(blob.data() + pos, len);
    pos += len + 1;
  }
  return out;
}

std::vector<std::string> TableBlobParser::listTableNames(std::string_view blob) {
  if (blob.size() < 8) {
    LMCREADER_LOG_ERROR("Table blob of %zu bytes is too short for its table count", blob.size());
    return {};
  }
  const uint32_t n = loadBe32(blob.data() + 4);
  if (n == 0) {
    LMCREADER_LOG_ERROR("There are no tables in LM");
    return {};
  }
  LMCREADER_LOG_INFO("Retrieving %u table names", n);
  const uint64_t namesOffset = 8 * (uint64_t{n} + 1);
  if (namesOffset > blob.size()) {
    LMCREADER_LOG_ERROR("Table directory of %u entries runs off the blob of %zu bytes", n,
                        blob.size());
    return {};
  }
  return parseStringTable(blob, static_cast<size_t>(namesOffset));
}

std::vector<std::string> TableBlobParser::extractStringTable(std::string_view blob,
                                                             const std::string& name) {
  const std::vector<std::string> names = listTableNames(blob);
  size_t index = 0;
  while (index < names.size() && names[index] != name) ++index;
  if (index == names.size()) {
    LMCREADER_LOG_ERROR("Table with name %s was not in set of %d tables", name.c_str(),
                        static_cast<int>(names.size()));
    return {};
  }
  // listTableNames has seen the directory within the blob; the names may outnumber it.
  const uint32_t n = loadBe32(blob.data() + 4);
  if (index >= n) {
    LMCREADER_LOG_ERROR("Table %s has no entry in the directory of %u tables", name.c_str(), n);
    return {};
  }
  const char* entry = blob.data() + 8 + 8 * index;
  if (loadBe32(entry) != kStringTableType) {
    // The type printed is that of entry 0, whichever entry failed.
    LMCREADER_LOG_ERROR("Can not extract table type %d, expects string table type %d",
                        static_cast<int>(loadBe32(blob.data() + 8)),
                        static_cast<int>(kStringTableType));
    return {};
  }
  LMCREADER_LOG_INFO("Extracting string table %s with index %u", name.c_str(),
                     static_cast<unsigned>(index));
  return parseStringTable(blob, loadBe32(entry + 4));
}

}  // namespace kvntrace
