#pragma once
// A trace string of an agent's container used as a printf format with the three 32-bit
// arguments of a trace hit. The container is not trusted, so only conversions that print a
// 32-bit value are done; nothing is ever read or written through an argument.
//
// Done as printf would on the 32-bit target: %d %i %u %o %x %X (flags "-+ #0'", a width and a
// precision of at most kMaxField, and the length modifiers h, hh and l) and a plain %c; "%%"
// is a percent sign. Printed as it stands in the format, and still taking its argument:
// every other conversion (%s, %n, %p, floating point, %lc, ll, j, z, t, L, q), a '*' width or
// precision, a numbered argument ("%1$d"), a width or precision above kMaxField, and any
// conversion beyond the third argument. An unfinished conversion at the end is printed as it
// stands.

#include <stddef.h>
#include <stdint.h>

#include <string>

namespace kvn {

class TraceStringFormatter {
 public:
  static constexpr int kArgs = 3;
  static constexpr long kMaxField = 1024;  // keeps one row's text bounded

  static std::string format(const std::string& format, uint32_t arg1, uint32_t arg2, uint32_t arg3);
};

}  // namespace kvn
