#pragma once

#include <exception>
#include <string>

namespace kvntrace {

// A profile name that the provider does not hold.
class BadProfileException : public std::exception {
 public:
  explicit BadProfileException(const std::string& name)
      : m_message("Invalid profile name " + name) {}
  const char* what() const noexcept override { return m_message.c_str(); }

 private:
  std::string m_message;
};

}  // namespace kvntrace
