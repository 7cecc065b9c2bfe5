#include "kvnsh/command_request.h"

#include <assert.h>
#include <string.h>

#include "kvnsh/wire_header.h"

namespace kvnsh {
namespace {

size_t argsLength(const std::vector<std::string>& words) {
  size_t len = 0;
  for (const std::string& w : words) len += w.size() + 1;
  return len;
}

}  // namespace

bool CommandRequest::fits(const std::vector<std::string>& words, std::string* error) {
  if (words.empty()) {
    *error = "no command given";
    return false;
  }
  if (words.size() > kMaxWords) {
    *error = "too many arguments: " + std::to_string(words.size()) + " words, at most " +
             std::to_string(kMaxWords);
    return false;
  }
  for (const std::string& w : words) {
    if (w.find('\0') != std::string::npos) {
      *error = "an argument holds a NUL character";
      return false;
    }
  }
  const size_t len = argsLength(words);
  if (len > kMaxArgsLength) {
    *error = "command line too long: " + std::to_string(len) + " bytes, at most " +
             std::to_string(kMaxArgsLength);
    return false;
  }
  return true;
}

std::vector<uint8_t> CommandRequest::encode(const std::vector<std::string>& words, uint16_t src) {
  const size_t len = argsLength(words);
  assert(!words.empty() && words.size() <= kMaxWords && len <= kMaxArgsLength);
  std::vector<uint8_t> msg(kRequestHeadSize + len, 0);
  WireHeader{kFactoryRoutine, src, kCommandReq}.encode(msg.data());
  storeBe32(&msg[12], kProtocolVersion);
  msg[16] = static_cast<uint8_t>(words.size());
  storeBe16(&msg[18], static_cast<uint16_t>(len));
  uint8_t* p = &msg[kRequestHeadSize];
  for (const std::string& w : words) {
    memcpy(p, w.data(), w.size());
    p += w.size() + 1;  // the terminator is already zero
  }
  return msg;
}

}  // namespace kvnsh
