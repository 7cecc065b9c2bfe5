#pragma once

#include <stdexcept>
#include <string>

namespace hkm {

// A failed call of the mailbox library; carries only its text.
class PXMException : public std::runtime_error {
 public:
  explicit PXMException(const std::string& what) : std::runtime_error(what) {}
};

}  // namespace hkm
