#pragma once

#include <exception>
#include <string>

namespace kvntrace {

// A container path that cannot be opened for reading.
class BadLmcException : public std::exception {
 public:
  explicit BadLmcException(const std::string& path) : m_message("Bad LMC path " + path) {}
  const char* what() const noexcept override { return m_message.c_str(); }

 private:
  std::string m_message;
};

}  // namespace kvntrace
