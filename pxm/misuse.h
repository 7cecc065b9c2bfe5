#pragma once
// Reports a wrong use of the library (a null pointer, a message it did not hand out, a call
// from a thread without a mailbox): one line on standard error, errno EINVAL. The library has
// no log of its own and must not depend on the system's tracing.

namespace pxm {

void misuse(const char* function, const char* what);

}  // namespace pxm
