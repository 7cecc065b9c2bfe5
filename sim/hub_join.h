#pragma once
// How a simulator comes onto the hub: the library joined, then its own mailbox. Each step says
// on standard error why it failed, in the simulator's name.

#include <stdint.h>

#include <string>

namespace kvn::sim {

// Joins the hub of `nameSpace` (empty: the default one); false when it cannot.
bool joinHub(const std::string& nameSpace);
// Creates the mailbox `name` for the calling thread; PXM_NO_MBOX when it cannot.
uint32_t openMailbox(const std::string& name);

}  // namespace kvn::sim
