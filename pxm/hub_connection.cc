#include "pxm/hub_connection.h"

#include <unistd.h>

namespace pxm {

HubConnection::HubConnection(uint64_t id, int fd, pid_t pid, uid_t uid, Clock::time_point now,
                             Reclaimer* reclaimer)
    : id_(id),
      fd_(fd),
      pid_(pid),
      uid_(uid),
      since_(now),
      lastRead_(now),
      reader_(reclaimer),
      out_(reclaimer) {}

HubConnection::~HubConnection() { ::close(fd_); }

}  // namespace pxm
