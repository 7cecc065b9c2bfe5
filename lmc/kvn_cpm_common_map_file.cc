#include "lmc/kvn_cpm_common_map_file.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>

#include "tracing/log.h"

// A 32-bit build reads containers on file systems with 64-bit inode numbers and offsets too
// (CMakeLists.txt asks for them).
static_assert(sizeof(off_t) == 8, "file offsets are 64 bits wide");

KvnCpmCommon_mapFile::KvnCpmCommon_mapFile(const std::string& path) : m_path(path) {
  if (access(path.c_str(), F_OK) != 0) return;
  if (!mapForReading()) EQMH_ERROR("Failed to map: %s", path.c_str());
}

KvnCpmCommon_mapFile::KvnCpmCommon_mapFile(const std::string& path, size_t size)
    : m_path(path), m_size(size) {
  if (size == 0) return;
  if (!create()) m_size = 0;
}

KvnCpmCommon_mapFile::~KvnCpmCommon_mapFile() { unmap(); }

bool KvnCpmCommon_mapFile::mapForReading() {
  const char* path = m_path.c_str();
  int fd = open(path, O_RDONLY);
  if (fd < 0) {
    EQMH_ERROR("open of %s failed: %s", path, strerror(errno));
    return false;
  }
  struct stat st;
  if (fstat(fd, &st) != 0) {
    EQMH_ERROR("fstat of %s failed: %s", path, strerror(errno));
    close(fd);
    return false;
  }
  const size_t size = static_cast<size_t>(st.st_size);
  if (static_cast<uint64_t>(st.st_size) != size) {
    EQMH_ERROR("%s is too large to map", path);
    close(fd);
    return false;
  }
  void* p = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE, fd, 0);
  if (p == MAP_FAILED) {
    EQMH_ERROR("mmap of %s failed: %s", path, strerror(errno));
    close(fd);
    return false;
  }
  m_addr_p = p;
  m_size = size;
  EQMH_DEBUG("Open mapped file: %s size: %u bytes addr_p: %p", path, (unsigned)size, p);
  if (close(fd) != 0) {
    EQMH_ERROR("File close of %s failed: %s", path, strerror(errno));
    unmap();
    return false;
  }
  return true;
}

bool KvnCpmCommon_mapFile::create() {
  const char* path = m_path.c_str();
  EQMH_INFO("Create file: %s size: %u bytes", path, (unsigned)m_size);
  int fd = open(path, O_RDWR | O_CREAT | O_TRUNC, 0777);
  if (fd < 0) {
    EQMH_ERROR("Open of %s failed: %s", path, strerror(errno));
    return false;
  }
  int rc = posix_fallocate(fd, 0, static_cast<off_t>(m_size));
  if (rc != 0) {
    EQMH_ERROR("posix_fallocate of %s failed: %s, %d", path, strerror(rc), rc);
    close(fd);
    return false;
  }
  void* p = mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  if (p == MAP_FAILED) {
    EQMH_ERROR("Unable to map %s: %s", path, strerror(errno));
    close(fd);
    return false;
  }
  m_addr_p = p;
  if (fsync(fd) != 0) EQMH_ERROR("fsync failed for: %s", path);
  if (close(fd) != 0) EQMH_ERROR("close of %s failed: %s", path, strerror(errno));
  return true;
}

bool KvnCpmCommon_mapFile::unmap() {
  if (m_addr_p == nullptr) return true;
  bool ok = munmap(m_addr_p, m_size) == 0;
  if (!ok) EQMH_ERROR("munmap failed: %s", strerror(errno));
  m_addr_p = nullptr;
  m_size = 0;
  return ok;
}
