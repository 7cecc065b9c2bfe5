#pragma once
// Hands service names over between instances of the service without a gap: a name this
// process no longer needs stays published ("lingers") until the name server shows that
// another huntpath has published it; only then is it withdrawn.

#include <functional>
#include <set>
#include <string>

#include "util/mainloop/callback_utils.h"
#include "util/ns/ns_subscribe.h"

namespace kvn {

class LingeringNsHandler : public CallbackUtils {
 public:
  using NameFn = std::function<void(const std::string&)>;

  // `huntpath` is this process's mailbox name; `subscriber` must outlive this object.
  LingeringNsHandler(NameFn publishFn, NameFn unpublishFn, NsSubscribe* subscriber,
                     std::string huntpath);
  // Ends the subscriptions of the lingering names, then withdraws every published name.
  ~LingeringNsHandler() override;

  // Publishes a name not published yet; a lingering name goes back to normal duty.
  virtual void publish(const std::string& name);
  // The name is no longer needed: it lingers until another huntpath publishes it.
  virtual void linger(const std::string& name);

  bool isPublished(const std::string& name) const { return published_.count(name) != 0; }
  bool isLingering(const std::string& name) const { return lingering_.count(name) != 0; }

 private:
  void onPublished(const std::string& name, const NsSubscribe::Entry& entry);
  void withdraw(const std::string& name);

  std::set<std::string> published_;
  std::set<std::string> lingering_;
  NameFn publishFn_;
  NameFn unpublishFn_;
  NsSubscribe* subscriber_;
  std::string huntpath_;
};

}  // namespace kvn
