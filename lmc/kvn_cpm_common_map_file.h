#pragma once
// A file mapped into memory: an existing one read privately (writable copy-on-write pages), or
// a new one created at a given size and mapped shared, so that what is written lands in it.
// Failures are logged; the object then stays unmapped (addr() is null).

#include <cstddef>
#include <string>

class KvnCpmCommon_mapFile {
 public:
  // Maps the existing file at `path`. A path that does not exist is left alone silently.
  explicit KvnCpmCommon_mapFile(const std::string& path);
  // Creates (or truncates) `path` to `size` bytes and maps it; nothing happens for size 0.
  KvnCpmCommon_mapFile(const std::string& path, size_t size);
  ~KvnCpmCommon_mapFile();

  KvnCpmCommon_mapFile(const KvnCpmCommon_mapFile&) = delete;
  KvnCpmCommon_mapFile& operator=(const KvnCpmCommon_mapFile&) = delete;

  void* addr() const { return m_addr_p; }
  size_t size() const { return m_size; }

  // Takes the mapping down; true also when there was none.
  bool unmap();

 private:
  bool mapForReading();
  bool create();

  std::string m_path;
  void* m_addr_p = nullptr;
  size_t m_size = 0;
};
