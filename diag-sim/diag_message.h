#pragma once
// The bytes of the diag handler's messages with the service: the routine-addressed header
// (message number in host order, the rest big-endian), the hello, and what the service sends:
// the hello reply, the UDP session request and the delete indication, read into journal fields.

#include <stddef.h>
#include <stdint.h>

#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "base/kvn_obs_sub_message_with_sub_msg_no.h"

namespace kvn::diagsim {

class DiagMessage {
 public:
  static constexpr uint32_t kBaseSignalNo = kKvnObsSignalNo;
  static constexpr size_t kHeaderSize = sizeof(KvnObsSubMessageWithSubMsgNo);
  static constexpr uint16_t kServiceRoutine = 8;  // the service's diag handler client
  static constexpr uint16_t kHello = 0, kHelloReply = 1;
  static constexpr uint16_t kCreateReq = 0, kCreateCfm = 1, kCreateRej = 2, kDeleteInd = 3;
  static constexpr size_t kCreateReqSize = 562;

  static std::vector<uint8_t> encode(uint16_t dst, uint16_t src, uint16_t submsgno,
                                     const std::vector<uint8_t>& body);
  static std::vector<uint8_t> helloBody(uint32_t value);

  // Each adds what it reads of a message body to `entry`; a body too short for a field
  // leaves it out and says so in "error".
  static void readHelloReply(const uint8_t* body, size_t size, nlohmann::json& entry);
  static void readCreateRequest(const uint8_t* body, size_t size, nlohmann::json& entry);
  static void readDeleteIndication(const uint8_t* body, size_t size, nlohmann::json& entry);
};

}  // namespace kvn::diagsim
