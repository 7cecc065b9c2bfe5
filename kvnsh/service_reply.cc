#include "kvnsh/service_reply.h"

namespace kvnsh {

bool ServiceReply::decode(const uint8_t* msg, size_t size, ServiceReply* out) {
  *out = ServiceReply();
  if (!WireHeader::decode(msg, size, &out->header)) return false;
  switch (out->header.submsgno) {
    case kCommandRefused:
      if (size < kRefusedSize) return false;
      out->reason = loadBe32(msg + 16);
      return true;
    case kCommandEnded:
      // The result byte is what matters; the padding behind it is not needed.
      if (size < kEndedSize - 1) return false;
      out->result = msg[12];
      return true;
    case kPrintInd:
      if (size < kTextHeadSize) return false;
      out->sequence = loadBe16(msg + 12);
      out->stream = loadBe16(msg + 14);
      out->length = loadBe16(msg + 16);
      // The length is trusted by the sender; never read past what arrived.
      if (out->length > size - kTextHeadSize) return false;
      out->text = msg + kTextHeadSize;
      return true;
    default:
      return true;
  }
}

}  // namespace kvnsh
