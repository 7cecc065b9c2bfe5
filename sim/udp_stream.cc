#include "sim/udp_stream.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <vector>

#include <nlohmann/json.hpp>

#include "tracerecords/trace_record_reader.h"

namespace kvn::sim {

namespace {
constexpr uint16_t kEmbuf = 4, kTn = 6;
}

UdpStream::UdpStream(std::string sessionsDir, Journal& journal)
    : dir_(std::move(sessionsDir)), journal_(journal) {}

UdpStream::~UdpStream() {
  if (fd_ >= 0) close(fd_);
}

std::string UdpStream::sessionFile(const std::string& dir, uint32_t sessionId) {
  return dir + "/tsi-session-" + std::to_string(sessionId);
}

void UdpStream::socketOpened(uint16_t socketId, uint32_t sessionId) {
  if (dir_.empty()) return;
  nlohmann::json entry = {{"event", "udp_socket"}, {"socketId", socketId}};
  std::string ip;
  unsigned port = 0;
  std::ifstream in(sessionFile(dir_, sessionId));
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  if (!(in >> ip >> port) || port == 0 || port > 65535) {
    entry["error"] = "no address for UDP session " + std::to_string(sessionId);
  } else if (ip != "127.0.0.1" || inet_pton(AF_INET, ip.c_str(), &addr.sin_addr) != 1) {
    entry["error"] = "address " + ip + " is not 127.0.0.1: nothing will be sent";
  } else {
    addr.sin_port = htons(static_cast<uint16_t>(port));
    sockets_[socketId] = addr;
    entry["address"] = ip + ":" + std::to_string(port);
  }
  journal_.write(entry);
}

void UdpStream::socketClosed(uint16_t socketId) { sockets_.erase(socketId); }

void UdpStream::linkChanged(uint16_t source, uint16_t destination, uint16_t socket, bool attached) {
  if (source != kEmbuf || destination != kTn) return;
  // A detach carries the socket of the route that follows, not the one it leaves.
  if (attached)
    streamSocket_ = socket;
  else
    streamSocket_.reset();
}

std::optional<sockaddr_in> UdpStream::target() const {
  if (!streamSocket_) return std::nullopt;
  auto it = sockets_.find(*streamSocket_);
  if (it == sockets_.end()) return std::nullopt;
  return it->second;
}

bool UdpStream::open() {
  if (fd_ < 0) fd_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  return fd_ >= 0;
}

// One datagram: the sequence number first, so that a reader sees gaps, then `data`.
void UdpStream::send(const sockaddr_in& to, const uint8_t* data, size_t size) {
  std::vector<uint8_t> datagram(4 + size);
  const uint32_t seq = sequence_++;
  for (int i = 0; i < 4; ++i) datagram[i] = static_cast<uint8_t>(seq >> (24 - 8 * i));
  std::copy(data, data + size, datagram.begin() + 4);
  // Loopback only; a full receive buffer drops datagrams as a network would.
  if (sendto(fd_, datagram.data(), datagram.size(), 0, reinterpret_cast<const sockaddr*>(&to),
             sizeof to) >= 0)
    ++sent_;
}

void UdpStream::sendRecords(const sockaddr_in& to, const std::vector<uint8_t>& records) {
  pending_.insert(pending_.end(), records.begin(), records.end());
  const size_t room = kDatagramBytes - tracerecords::TraceRecord::kDatagramHeaderSize;
  size_t start = 0, end = 0;
  tracerecords::TraceRecord r;
  while (end < pending_.size()) {
    const auto status =
        tracerecords::TraceRecordReader::read(&pending_[end], pending_.size() - end, r);
    if (status == tracerecords::TraceRecordReader::Status::kShortHeader ||
        status == tracerecords::TraceRecordReader::Status::kPastTheData)
      break;  // the rest comes with the next words
    if (status != tracerecords::TraceRecordReader::Status::kOk) {
      pending_.clear();  // not our records: nothing to frame them by
      return;
    }
    if (end + r.length - start > room) {
      send(to, &pending_[start], end - start);
      start = end;
    }
    end += r.length;
  }
  if (end > start) send(to, &pending_[start], end - start);
  pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(end));
}

void UdpStream::consumed(uint64_t words, const std::vector<uint8_t>& records) {
  const std::optional<sockaddr_in> to = target();
  if (!to || words == 0 || !open()) return;
  if (!records.empty()) {
    sendRecords(*to, records);
    return;
  }
  uint64_t bytes = words * 2;
  for (size_t n = 0; n < kMaxDatagramsPerSend && bytes > 0; ++n) {
    const size_t size = static_cast<size_t>(std::min<uint64_t>(bytes, kDatagramBytes));
    bytes -= size;
    // The rest stands for trace words.
    const std::vector<uint8_t> filler(std::max<size_t>(size, 4) - 4, 0xA5);
    send(*to, filler.data(), filler.size());
  }
}

}  // namespace kvn::sim
