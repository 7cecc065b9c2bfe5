#include "daxo-sim/reply_path.h"

#include <string.h>

#include <utility>

#include "base/big_endian.h"
#include "daxo-sim/connect_message.h"

namespace kvn::daxosim {

ReplyPath::ReplyPath(Transport transport, uint32_t peerMailbox, uint16_t peerRoutine,
                     uint16_t ownRoutine)
    : transport_(std::move(transport)),
      peerMailbox_(peerMailbox),
      peerRoutine_(peerRoutine),
      ownRoutine_(ownRoutine) {}

void ReplyPath::send(uint16_t submsgno, const std::vector<uint8_t>& body) const {
  std::vector<uint8_t> m(ConnectMessage::kHeaderSize + body.size(), 0);
  const uint32_t msgno = ConnectMessage::kBaseSignalNo;
  memcpy(&m[0], &msgno, 4);
  const uint16_t fields[3] = {peerRoutine_, ownRoutine_, submsgno};
  for (int i = 0; i < 3; ++i) storeBe16(&m[4 + 2 * i], fields[i]);
  if (!body.empty()) memcpy(&m[ConnectMessage::kHeaderSize], body.data(), body.size());
  transport_(std::move(m), peerMailbox_);
}

}  // namespace kvn::daxosim
