#include "kvnsh/chunk_writer.h"

#include <errno.h>
#include <string.h>
#include <unistd.h>

namespace kvnsh {

bool ChunkWriter::writeText(const char* data, size_t size) {
  while (size > 0) {
    const ssize_t n = ::write(textFd_, data, size);
    if (n < 0) {
      if (errno == EINTR) continue;
      error_ = std::string("cannot write the output: ") + strerror(errno);
      return false;
    }
    data += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

bool ChunkWriter::flushBase64() {
  if (!base64_.open()) return true;
  scratch_.clear();
  base64_.finish(&scratch_);
  return writeText(scratch_.data(), scratch_.size());
}

bool ChunkWriter::write(uint16_t stream, const uint8_t* data, size_t size) {
  if (progress_) progress_->add(size);
  if (dump_ && binary_) return binary_->write(data, size, &error_);
  if (stream != kBinaryStream) {
    // Text between binary chunks must not land inside a base64 line.
    if (!flushBase64()) return false;
    return writeText(reinterpret_cast<const char*>(data), size);
  }
  if (binary_) return binary_->write(data, size, &error_);
  scratch_.clear();
  base64_.feed(data, size, &scratch_);
  return writeText(scratch_.data(), scratch_.size());
}

bool ChunkWriter::finish(bool succeeded, std::string* note) {
  note->clear();
  if (progress_) progress_->clear();
  bool ok = flushBase64();
  if (binary_ && binary_->started()) {
    const size_t bytes = binary_->bytes();
    std::string fileError;
    const std::string where = binary_->close(succeeded, &fileError);
    if (where.empty()) {
      error_ = fileError;
      return false;
    }
    *note = std::to_string(bytes) + " bytes of binary output " +
            (succeeded ? "written to " : "kept, the command failed: ") + where;
  }
  return ok;
}

}  // namespace kvnsh
