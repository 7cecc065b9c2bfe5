#pragma once

#include <string>

namespace kvn {

// Publishing a service name for the own mailbox, and withdrawing it.
class NsPublish {
 public:
  virtual ~NsPublish() = default;
  virtual void publish(const std::string& name) = 0;
  virtual void unpublish(const std::string& name) = 0;
};

}  // namespace kvn
