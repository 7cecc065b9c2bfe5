#pragma once
// The socket the decoder reads a stream on: bound to one IPv4 address and port, read one
// datagram at a time with a bounded wait, so that a stop request is seen in time.

#include <stddef.h>
#include <stdint.h>

#include <stdexcept>
#include <string>

namespace kvn::decode {

class UdpListener {
 public:
  class Error : public std::runtime_error {
   public:
    using std::runtime_error::runtime_error;
  };

  // `address` is "IP:PORT"; port 0 takes a free one. Throws Error when it cannot be bound.
  explicit UdpListener(const std::string& address);
  ~UdpListener();
  UdpListener(const UdpListener&) = delete;
  UdpListener& operator=(const UdpListener&) = delete;

  // The address bound, "IP:PORT", with the port chosen.
  const std::string& address() const { return address_; }

  // Waits up to `timeoutMs` for a datagram and copies it to `buf`; gives its size, or -1 when
  // none came (or a signal ended the wait). A datagram longer than `size` is cut.
  long receive(uint8_t* buf, size_t size, int timeoutMs);

 private:
  int fd_ = -1;
  std::string address_;
};

}  // namespace kvn::decode
