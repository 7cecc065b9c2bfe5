#include "util/ns/lingering_ns_handler.h"

#include <utility>
#include <vector>

#include "tracing/log.h"

namespace kvn {

LingeringNsHandler::LingeringNsHandler(NameFn publishFn, NameFn unpublishFn,
                                       NsSubscribe* subscriber, std::string huntpath)
    : publishFn_(std::move(publishFn)),
      unpublishFn_(std::move(unpublishFn)),
      subscriber_(subscriber),
      huntpath_(std::move(huntpath)) {}

LingeringNsHandler::~LingeringNsHandler() {
  for (const std::string& name : lingering_) subscriber_->unsubscribe(name);
  const std::vector<std::string> names(published_.begin(), published_.end());
  for (const std::string& name : names) withdraw(name);
}

void LingeringNsHandler::publish(const std::string& name) {
  if (published_.count(name) == 0) {
    CPMUTIL_LOG_DEBUG("Publishing service %s", name.c_str());
    publishFn_(name);
    published_.insert(name);
  } else {
    CPMUTIL_LOG_DEBUG("Not publishing existing service %s", name.c_str());
  }
  // Back to normal duty. The name server subscription stays; with the name no longer
  // lingering, a later notification changes nothing.
  lingering_.erase(name);
}

void LingeringNsHandler::linger(const std::string& name) {
  if (lingering_.count(name) != 0) return;
  CPMUTIL_LOG_DEBUG("Subscribing on service %s", name.c_str());
  lingering_.insert(name);
  subscriber_->subscribe(
      name, getKillableCallback(std::function<void(const NsSubscribe::Entry&)>(
                [this, name](const NsSubscribe::Entry& entry) { onPublished(name, entry); })));
}

void LingeringNsHandler::onPublished(const std::string& name, const NsSubscribe::Entry& entry) {
  // The indication of our own publication has our huntpath: that is no hand-over.
  if (entry.second == huntpath_ || lingering_.count(name) == 0) return;
  CPMUTIL_LOG_DEBUG("Notified about new service %s for huntpath %s, mine is %s",
                    entry.first.c_str(), entry.second.c_str(), huntpath_.c_str());
  subscriber_->unsubscribe(name);
  withdraw(name);
  lingering_.erase(name);
}

void LingeringNsHandler::withdraw(const std::string& name) {
  if (published_.count(name) != 0) {
    CPMUTIL_LOG_DEBUG("Unpublishing service %s", name.c_str());
    unpublishFn_(name);
    published_.erase(name);
  } else {
    CPMUTIL_LOG_DEBUG("Not unpublishing non-existing service %s", name.c_str());
  }
}

}  // namespace kvn
