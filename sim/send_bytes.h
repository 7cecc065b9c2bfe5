#pragma once
// A simulator's messages are built as whole byte strings, message number first in host order;
// this sends one as it stands.

#include <stdint.h>

#include <vector>

namespace kvn::sim {

// Sends `bytes` from the calling thread's mailbox to `to`; says so on standard error when no
// message can be had.
void sendBytes(const std::vector<uint8_t>& bytes, uint32_t to);

}  // namespace kvn::sim
