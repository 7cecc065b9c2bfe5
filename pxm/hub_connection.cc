#include "pxm/hub_connection.h"

#include <unistd.h>

namespace pxm {

HubConnection::HubConnection(uint64_t id, int fd, pid_t pid) : id_(id), fd_(fd), pid_(pid) {}

HubConnection::~HubConnection() { ::close(fd_); }

}  // namespace pxm
