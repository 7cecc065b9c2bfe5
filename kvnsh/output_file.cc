#include "kvnsh/output_file.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vector>

namespace kvnsh {
namespace {

std::string failure(const std::string& what, const std::string& path) {
  return what + " " + path + ": " + strerror(errno);
}

}  // namespace

OutputFile::~OutputFile() {
  // A shell that ends without closing (an error on its way out) removes its temporary file.
  if (fd_ >= 0) {
    ::close(fd_);
    unlink(tempPath_.c_str());
  }
}

bool OutputFile::write(const uint8_t* data, size_t size, std::string* error) {
  if (fd_ < 0) {
    std::vector<char> name(path_.begin(), path_.end());
    const char kSuffix[] = ".XXXXXX";
    name.insert(name.end(), kSuffix, kSuffix + sizeof kSuffix);
    fd_ = mkstemp(name.data());
    if (fd_ < 0) {
      *error = failure("cannot create a file beside", path_);
      return false;
    }
    tempPath_ = name.data();
    gathered_.reserve(kWriteBytes);
    // mkstemp makes the file private; give it the mode any new file of this user would get.
    const mode_t mask = umask(0);
    umask(mask);
    fchmod(fd_, 0666 & ~mask);
    bytes_ = 0;
  }
  gathered_.insert(gathered_.end(), data, data + size);
  bytes_ += size;
  return gathered_.size() < kWriteBytes || flush(error);
}

bool OutputFile::flush(std::string* error) {
  const uint8_t* data = gathered_.data();
  size_t size = gathered_.size();
  while (size > 0) {
    const ssize_t n = ::write(fd_, data, size);
    if (n < 0) {
      if (errno == EINTR) continue;
      *error = failure("cannot write", tempPath_);
      gathered_.clear();
      return false;
    }
    data += n;
    size -= static_cast<size_t>(n);
  }
  gathered_.clear();
  return true;
}

std::string OutputFile::close(bool succeeded, std::string* error) {
  if (fd_ < 0) return std::string();
  const std::string target = succeeded ? path_ : path_ + ".partial";
  const bool synced = flush(error) && fsync(fd_) == 0;
  const int saved = errno;
  ::close(fd_);
  fd_ = -1;
  if (!synced) {
    errno = saved;
    *error = failure("cannot write", tempPath_);
    unlink(tempPath_.c_str());
    return std::string();
  }
  if (rename(tempPath_.c_str(), target.c_str()) != 0) {
    *error = failure("cannot rename " + tempPath_ + " to", target);
    unlink(tempPath_.c_str());
    return std::string();
  }
  return target;
}

}  // namespace kvnsh
