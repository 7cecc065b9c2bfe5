#pragma once

#include <functional>
#include <string>
#include <utility>

namespace kvn {

// Subscribing to a service name of the name server. The callback runs, from the main loop,
// for each publication of the name that exists or comes, with the service name and the
// publisher's huntpath.
class NsSubscribe {
 public:
  using Entry = std::pair<std::string, std::string>;  // service name, huntpath
  using Callback = std::function<void(const Entry&)>;

  virtual ~NsSubscribe() = default;
  virtual void subscribe(const std::string& name, Callback callback) = 0;
  virtual void unsubscribe(const std::string& name) = 0;
};

}  // namespace kvn
