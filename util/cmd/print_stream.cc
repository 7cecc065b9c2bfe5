#include "util/cmd/print_stream.h"

#include <utility>

#include "tavi/tavi_protocol.h"

namespace kvn {

PrintStream::PrintStream(Sink sink) : std::ostream(nullptr), buffer_(std::move(sink)) {
  rdbuf(&buffer_);
}

void PrintStream::finish() { buffer_.finish(); }

PrintStream::ChunkBuffer::ChunkBuffer(Sink sink) : sink_(std::move(sink)), chunk_(tavi::kMaxChunk) {
  setp(chunk_.data(), chunk_.data() + chunk_.size());
}

// A full chunk goes only when one more character comes, so that a text of a whole number of
// chunks ends without an empty one, as `CmdSession::print` does.
PrintStream::ChunkBuffer::int_type PrintStream::ChunkBuffer::overflow(int_type c) {
  if (pptr() == epptr()) send(chunk_.size());
  if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
  *pptr() = traits_type::to_char_type(c);
  pbump(1);
  return c;
}

void PrintStream::ChunkBuffer::finish() {
  const size_t length = static_cast<size_t>(pptr() - pbase());
  if (length > 0 || !sent_) send(length);
}

void PrintStream::ChunkBuffer::send(size_t length) {
  sink_(pbase(), length);
  sent_ = true;
  setp(chunk_.data(), chunk_.data() + chunk_.size());
}

}  // namespace kvn
