#pragma once
// What the agent's consumer sends on while it streams to a network destination: the consumed
// data as real UDP datagrams to the destination's address and port, on this machine only.
//
// The address comes from the simulated TSI proxy (diag-sim), which writes it, when it confirms
// a UDP session, to "tsi-session-<session id>" in a directory both simulators are given: a line
// "<ip> <port>". The agent learns the session id from the socket open request, and which socket
// the memory buffer is attached to from its forwarders.

#include <netinet/in.h>
#include <stdint.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "sim/journal.h"

namespace kvn::sim {

class UdpStream {
 public:
  static constexpr size_t kDatagramBytes = 1400;
  // Of counter words; what is consumed beyond is not sent.
  static constexpr size_t kMaxDatagramsPerSend = 16;

  // `sessionsDir` empty: nothing is ever sent.
  UdpStream(std::string sessionsDir, Journal& journal);
  ~UdpStream();
  UdpStream(const UdpStream&) = delete;
  UdpStream& operator=(const UdpStream&) = delete;

  // The path diag-sim writes the address of session `sessionId` to.
  static std::string sessionFile(const std::string& dir, uint32_t sessionId);

  // A socket was opened on the UDP session `sessionId`, or closed.
  void socketOpened(uint16_t socketId, uint32_t sessionId);
  void socketClosed(uint16_t socketId);
  // A forwarder link was attached to or detached from `socket`; only the memory buffer's links to
  // the transport network matter.
  void linkChanged(uint16_t source, uint16_t destination, uint16_t socket, bool attached);

  // The consumer took `words` 16-bit words out of the buffer. When they are trace records
  // (`records` not empty), each datagram carries whole records after its sequence number; a
  // record cut off at the end waits for the rest. Otherwise filler stands for the words.
  void consumed(uint64_t words, const std::vector<uint8_t>& records = {});

  uint64_t datagramsSent() const { return sent_; }

 private:
  std::optional<sockaddr_in> target() const;
  bool open();
  void send(const sockaddr_in& to, const uint8_t* data, size_t size);
  void sendRecords(const sockaddr_in& to, const std::vector<uint8_t>& records);

  std::string dir_;
  Journal& journal_;
  int fd_ = -1;
  std::map<uint16_t, sockaddr_in> sockets_;  // the open sockets whose address is known
  std::optional<uint16_t> streamSocket_;     // the socket the memory buffer is attached to
  uint64_t sent_ = 0;
  uint32_t sequence_ = 0;
  std::vector<uint8_t> pending_;  // records not yet sent whole
};

}  // namespace kvn::sim
