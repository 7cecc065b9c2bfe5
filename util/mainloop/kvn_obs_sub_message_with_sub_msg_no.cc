#include "util/mainloop/kvn_obs_sub_message_with_sub_msg_no.h"

#include <arpa/inet.h>

void kvnObsSwapHeader(KvnObsSubMessageWithSubMsgNo* header) {
  header->dstRoutineId = htons(header->dstRoutineId);
  header->srcRoutineId = htons(header->srcRoutineId);
  header->submsgno = htons(header->submsgno);
}
