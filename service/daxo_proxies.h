#pragma once
// The proxies through which the service talks to the routines of an agent, one per function
// the agent can deploy (the chains stand with the signal records).

#include "service/signals/signal_proxies.h"

namespace kvn {

// The signal-to-trace function takes no signal from this service: routine id and proxy only.
using Sig2emProxy = kvntrace::TemplateBaseProxy;

}  // namespace kvn
