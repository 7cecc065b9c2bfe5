#include "daxo-sim/memory_buffer_handler.h"

#include <stdexcept>

#include <nlohmann/json.hpp>

namespace kvn::daxosim {

namespace {
constexpr uint16_t kSetUpReq = 6, kSetUpCfm = 7;
}

void MemoryBufferHandler::handle(const Request& request, const ReplyPath& reply,
                                 nlohmann::json& entry) {
  if (request.submsgno != kSetUpReq) {
    entry["answered"] = false;  // the index and the data come with the recorder
    return;
  }
  if (request.bodySize < 2) throw std::runtime_error("buffer set-up without its value");
  entry["setup"] = request.body[0] << 8 | request.body[1];
  buffer_.reset();
  reply.send(kSetUpCfm, {});
  entry["confirm"] = "sent";
}

}  // namespace kvn::daxosim
