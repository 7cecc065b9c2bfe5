#pragma once
// The text names of the signals the service sends to an agent's routines, known by the
// IMPLEMENTS code of the routine that receives them and their sub-message number.

#include <stdint.h>

namespace kvn::daxosim {

class SignalCatalog {
 public:
  // The name, or nullptr when the pair names no known request.
  static const char* requestName(uint16_t implementsCode, uint16_t submsgno);
};

}  // namespace kvn::daxosim
