#pragma once
// The proxies through which the service talks to the routines of an agent, one per function
// the agent can deploy. Each is built from the routine table, the agent's mailbox, the routine
// id on the agent and the agent's lost event.

#include "util/template_proxy.h"

namespace kvn {

using DaxoBaseProxy = kvntrace::TemplateBaseProxy;
using TraceObjectProxy = DaxoBaseProxy;
using UTraceProxy = DaxoBaseProxy;
using DspLoadProxy = DaxoBaseProxy;
using CmPoolProxy = DaxoBaseProxy;
using TraceHitCounterProxy = DaxoBaseProxy;
using RttProxy = DaxoBaseProxy;
using TraceLinkConnectionProxy = DaxoBaseProxy;
using TraceDestProxy = DaxoBaseProxy;
using SuperTraceControlProxy = DaxoBaseProxy;
using SuperTraceBufferProxy = DaxoBaseProxy;
using Sig2emProxy = DaxoBaseProxy;

}  // namespace kvn
