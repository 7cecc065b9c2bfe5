#pragma once
// Where the text chunks of a command go. Stream 0 is text and is written as it stands; stream 1
// is binary, written base64-encoded among the text, or as it stands to an output file. A dump's
// chunks are binary whichever stream they carry: with an output file all of them go there.

#include <stddef.h>
#include <stdint.h>

#include <string>

#include "kvnsh/base64.h"
#include "kvnsh/dump_progress.h"
#include "kvnsh/output_file.h"

namespace kvnsh {

class ChunkWriter {
 public:
  static constexpr uint16_t kBinaryStream = 1;

  // `textFd` takes the text; `binary`, when given, the bytes of stream 1.
  ChunkWriter(int textFd, OutputFile* binary) : textFd_(textFd), binary_(binary) {}

  // The command is a dump; `progress`, when given, counts its bytes.
  void setDump(DumpProgress* progress) {
    dump_ = true;
    progress_ = progress;
  }

  // False, with error() set, when the bytes could not be written.
  bool write(uint16_t stream, const uint8_t* data, size_t size);
  // Ends the command's output: pads the base64 text and puts the binary file in place (see
  // OutputFile::close). `note` gets a line for the operator about the file, if any.
  bool finish(bool succeeded, std::string* note);
  const std::string& error() const { return error_; }

 private:
  bool writeText(const char* data, size_t size);
  bool flushBase64();

  int textFd_;
  OutputFile* binary_;
  bool dump_ = false;
  DumpProgress* progress_ = nullptr;
  Base64 base64_;
  std::string scratch_;
  std::string error_;
};

}  // namespace kvnsh
