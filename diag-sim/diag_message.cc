#include "diag-sim/diag_message.h"

#include <arpa/inet.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>

#include <nlohmann/json.hpp>

#include "base/big_endian.h"

namespace kvn::diagsim {

namespace {

std::string hexBytes(const uint8_t* p, size_t n) {
  std::string s;
  char two[4];
  for (size_t i = 0; i < n; ++i) {
    snprintf(two, sizeof two, "%s%02x", i ? ":" : "", p[i]);
    s += two;
  }
  return s;
}

}  // namespace

std::vector<uint8_t> DiagMessage::encode(uint16_t dst, uint16_t src, uint16_t submsgno,
                                         const std::vector<uint8_t>& body) {
  std::vector<uint8_t> m(kHeaderSize + body.size(), 0);
  memcpy(m.data(), &kBaseSignalNo, 4);
  const uint16_t fields[3] = {dst, src, submsgno};
  for (int i = 0; i < 3; ++i) storeBe16(&m[4 + 2 * i], fields[i]);
  std::copy(body.begin(), body.end(), m.begin() + kHeaderSize);
  return m;
}

std::vector<uint8_t> DiagMessage::helloBody(uint32_t value) {
  std::vector<uint8_t> body;
  appendBe32(body, value);
  return body;
}

void DiagMessage::readHelloReply(const uint8_t* body, size_t size, nlohmann::json& entry) {
  if (size < 6) {
    entry["error"] = "hello reply shorter than its fields";
    return;
  }
  entry["word"] = loadBe32(body);  // 2 when the service sends it as the diag handler expects
  const uint16_t length = loadBe16(body + 4);
  if (6 + static_cast<size_t>(length) > size) {
    entry["error"] = "instance name runs past the message";
    return;
  }
  entry["instanceName"] = std::string(reinterpret_cast<const char*>(body + 6), length);
}

void DiagMessage::readCreateRequest(const uint8_t* body, size_t size, nlohmann::json& entry) {
  if (size + kHeaderSize < kCreateReqSize) {
    entry["error"] = "UDP session request shorter than 562 bytes";
    return;
  }
  entry["clientRef"] = loadBe32(body);
  const char* ldn = reinterpret_cast<const char*>(body + 4);
  entry["ldn"] = std::string(ldn, strnlen(ldn, 512));
  const uint16_t family = loadBe16(body + 516);
  entry["family"] = family;
  char ip[64] = {};
  inet_ntop(family == 6 ? AF_INET6 : AF_INET, body + 518, ip, sizeof ip);
  entry["ip"] = ip;
  entry["udpPortNr"] = loadBe16(body + 534);
  entry["sourceInfoA"] = loadBe32(body + 538);
  entry["sourceInfoB"] = loadBe16(body + 542);
  entry["sourceMac"] = hexBytes(body + 544, 6);
}

void DiagMessage::readDeleteIndication(const uint8_t* body, size_t size, nlohmann::json& entry) {
  if (size < 4) {
    entry["error"] = "delete indication shorter than its client reference";
    return;
  }
  entry["clientRef"] = loadBe32(body);
}

}  // namespace kvn::diagsim
