#include "daxo-sim/memory_buffer_handler.h"

#include <algorithm>
#include <stdexcept>

#include <nlohmann/json.hpp>

namespace kvn::daxosim {

namespace {

constexpr uint16_t kSetUpReq = 6, kSetUpCfm = 7, kIndexReq = 10, kIndexCfm = 11, kDataReq = 12,
                   kDataCfm = 13;
constexpr size_t kHeaderSize = 40;
constexpr uint32_t kMaxDataWords = 1024;

void put(std::vector<uint8_t>& out, uint32_t value, int bytes) {
  for (int i = bytes - 1; i >= 0; --i) out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}
uint32_t get(const uint8_t* p, int bytes) {
  uint32_t v = 0;
  for (int i = 0; i < bytes; ++i) v = v << 8 | p[i];
  return v;
}

}  // namespace

std::vector<uint8_t> MemoryBufferHandler::indexBody(
    uint32_t blockSize, const std::vector<SimulatedBuffer::Block>& blocks) {
  const size_t n = std::min(blocks.size(), kMaxBlockHeaders);
  std::vector<uint8_t> body;
  body.reserve(6 + std::max<size_t>(n, 1) * kHeaderSize);
  put(body, blockSize, 4);
  put(body, static_cast<uint32_t>(n), 2);
  for (size_t i = 0; i < n; ++i) {
    const SimulatedBuffer::Block& b = blocks[i];
    put(body, b.source, 2);
    put(body, 0x40000000u + static_cast<uint32_t>(i) * blockSize * 2, 4);  // address
    put(body, b.size, 4);
    put(body, b.writes, 2);  // an interrupt at the start of the block and one for each write
    put(body, b.errors, 2);
    put(body, b.sequence, 2);
    for (const SimulatedBuffer::Time& t : {b.startTime, b.endTime}) {
      put(body, t.seconds, 4);
      put(body, t.microseconds, 4);
      put(body, t.bfn, 4);
    }
  }
  if (n == 0) body.resize(body.size() + kHeaderSize);  // a confirm always has room for one
  return body;
}

void MemoryBufferHandler::takeIndex() {
  if (fixed_)
    indexed_ = fixed_->blocks;
  else
    indexed_.assign(buffer_.blocks().begin(), buffer_.blocks().end());
  if (indexed_.size() > kMaxBlockHeaders) indexed_.resize(kMaxBlockHeaders);
  hasIndex_ = true;
}

void MemoryBufferHandler::handle(const Request& request, const ReplyPath& reply,
                                 nlohmann::json& entry) {
  switch (request.submsgno) {
    case kSetUpReq:
      if (request.bodySize < 2) throw std::runtime_error("buffer set-up without its value");
      entry["setup"] = request.body[0] << 8 | request.body[1];
      buffer_.reset();
      hasIndex_ = false;
      reply.send(kSetUpCfm, {});
      entry["confirm"] = "sent";
      return;
    case kIndexReq: {
      takeIndex();
      const uint32_t blockSize = fixed_ ? fixed_->blockSize : buffer_.blockWords();
      reply.send(kIndexCfm, indexBody(blockSize, indexed_));
      entry["blocks"] = indexed_.size();
      uint64_t words[SimulatedBuffer::kSources] = {};
      for (const SimulatedBuffer::Block& b : indexed_)
        if (b.source < SimulatedBuffer::kSources) words[b.source] += b.size;
      entry["sourceWords"] = words;
      return;
    }
    case kDataReq: {
      if (request.bodySize < 12) throw std::runtime_error("data request shorter than its fields");
      if (!hasIndex_) takeIndex();
      const uint16_t blockId = static_cast<uint16_t>(get(request.body, 2));
      const uint32_t offset = get(request.body + 4, 4);
      uint32_t length = std::min(get(request.body + 8, 4), kMaxDataWords);
      const SimulatedBuffer::Block* block =
          blockId < indexed_.size() ? &indexed_[blockId] : nullptr;
      length = !block || offset >= block->size ? 0 : std::min(length, block->size - offset);
      std::vector<uint8_t> body(request.body, request.body + 8);
      put(body, length, 4);
      if (block) SimulatedBuffer::appendData(*block, offset, length, body);
      reply.send(kDataCfm, body);
      // Not journalled word by word: a dump sends many of these.
      if (entry.is_object()) entry.erase("body");
      entry["words"] = length;
      return;
    }
    default:
      entry["answered"] = false;
      return;
  }
}

}  // namespace kvn::daxosim
