#include "decode/udp_listener.h"

#include <arpa/inet.h>
#include <errno.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

namespace kvn::decode {

UdpListener::UdpListener(const std::string& address) {
  const size_t colon = address.rfind(':');
  sockaddr_in a{};
  a.sin_family = AF_INET;
  char* end = nullptr;
  const std::string portText = colon == std::string::npos ? "" : address.substr(colon + 1);
  const unsigned long port = strtoul(portText.c_str(), &end, 10);
  if (colon == std::string::npos || portText.empty() || *end != '\0' || port > 65535 ||
      inet_pton(AF_INET, address.substr(0, colon).c_str(), &a.sin_addr) != 1)
    throw Error("--listen takes IP:PORT, like 127.0.0.1:5000, not \"" + address + "\"");
  a.sin_port = htons(static_cast<uint16_t>(port));
  fd_ = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  socklen_t len = sizeof a;
  if (fd_ < 0 || bind(fd_, reinterpret_cast<sockaddr*>(&a), len) != 0 ||
      getsockname(fd_, reinterpret_cast<sockaddr*>(&a), &len) != 0) {
    const std::string why = strerror(errno);
    if (fd_ >= 0) close(fd_);
    throw Error("cannot listen on " + address + ": " + why);
  }
  address_ = address.substr(0, colon) + ":" + std::to_string(ntohs(a.sin_port));
}

UdpListener::~UdpListener() { close(fd_); }

long UdpListener::receive(uint8_t* buf, size_t size, int timeoutMs) {
  pollfd p{fd_, POLLIN, 0};
  if (poll(&p, 1, timeoutMs) <= 0) return -1;
  const ssize_t n = recv(fd_, buf, size, MSG_DONTWAIT);
  return n < 0 ? -1 : static_cast<long>(n);
}

}  // namespace kvn::decode
