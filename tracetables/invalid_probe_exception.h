#pragma once

#include <exception>
#include <string>

namespace kvntrace {

// A profile line with the wrong number of fields.
class InvalidProbeException : public std::exception {
 public:
  explicit InvalidProbeException(std::string message) : m_message(std::move(message)) {}
  const char* what() const noexcept override { return m_message.c_str(); }

 private:
  std::string m_message;
};

}  // namespace kvntrace
