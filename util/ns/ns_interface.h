#pragma once

#include "util/ns/ns_lookup.h"
#include "util/ns/ns_publish.h"
#include "util/ns/ns_subscribe.h"

namespace kvn {

// All that a process does with the name server.
class NsInterface : public NsSubscribe, public NsLookup, public NsPublish {
 public:
  using Entry = NsSubscribe::Entry;
  ~NsInterface() override = default;
};

}  // namespace kvn
