#pragma once
// An output stream for a command's long answers: the text leaves in print-sized chunks as it
// is written, so that an answer of many megabytes never stands whole in memory. The chunks are
// cut where `CmdSession::print` would cut the whole text, so the front end gets the same
// messages either way.

#include <stddef.h>

#include <functional>
#include <ostream>
#include <streambuf>
#include <vector>

namespace kvn {

class PrintStream : public std::ostream {
 public:
  using Sink = std::function<void(const char* data, size_t length)>;

  explicit PrintStream(Sink sink);
  PrintStream(const PrintStream&) = delete;
  PrintStream& operator=(const PrintStream&) = delete;

  // Sends what is left; one empty chunk when nothing was sent at all.
  void finish();

 private:
  class ChunkBuffer : public std::streambuf {
   public:
    explicit ChunkBuffer(Sink sink);
    void finish();

   protected:
    int_type overflow(int_type c) override;

   private:
    void send(size_t length);

    Sink sink_;
    std::vector<char> chunk_;
    bool sent_ = false;
  };

  ChunkBuffer buffer_;
};

}  // namespace kvn
