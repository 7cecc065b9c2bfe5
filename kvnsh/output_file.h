#pragma once
// The file that takes a command's binary output. The bytes go to a temporary file beside the
// target, which replaces the target only when the command has succeeded; a failed command
// leaves the target as it was and keeps what arrived under the name with ".partial". A dump
// brings 2 KiB a message: the bytes are gathered and written 64 KiB at a time.

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

namespace kvnsh {

class OutputFile {
 public:
  explicit OutputFile(std::string path) : path_(std::move(path)) {}
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  const std::string& path() const { return path_; }
  // True once the first bytes of the current command have been written.
  bool started() const { return fd_ >= 0; }
  size_t bytes() const { return bytes_; }

  // Creates the temporary file at the first call of a command. False, with `error` set, when
  // the file cannot be made or written; a failed write may show at a later call or at close.
  bool write(const uint8_t* data, size_t size, std::string* error);
  // Puts the bytes in place: under path() after success, else under path() + ".partial".
  // Returns the name the bytes are under, or empty with `error` set when that failed.
  std::string close(bool succeeded, std::string* error);

 private:
  static constexpr size_t kWriteBytes = 64 * 1024;

  // Writes what is gathered; what could not be written is dropped.
  bool flush(std::string* error);

  std::string path_;
  std::string tempPath_;
  int fd_ = -1;
  size_t bytes_ = 0;
  std::vector<uint8_t> gathered_;
};

}  // namespace kvnsh
