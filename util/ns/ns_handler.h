#pragma once
// The process's side of the name server: publishes names for the own mailbox, keeps
// subscriptions (each name once, with one callback) and turns the name server's messages into
// callbacks. The main loop hands it every message of the numbers getSignals() gives.

#include <stddef.h>
#include <stdint.h>

#include <map>
#include <string>
#include <vector>

#include "pxm/pxm.h"
#include "util/mailbox/hkm_pxm_interface.h"
#include "util/ns/ns_client.h"
#include "util/ns/ns_interface.h"

namespace kvn {

class NsHandler : public NsInterface {
 public:
  // `client` null: the ns_* functions of the mailbox library.
  NsHandler(pxm_mbox_id_t mailbox, hkm::PXMInterface* pxm, NsClient* client = nullptr);
  ~NsHandler() override;
  NsHandler(const NsHandler&) = delete;
  NsHandler& operator=(const NsHandler&) = delete;

  // A second subscription of a name is dropped, its callback with it.
  void subscribe(const std::string& name, Callback callback) override;
  void unsubscribe(const std::string& name) override;
  // One name server message; the main loop frees it.
  virtual void handleMessage(pxm_mbox_id_t sender, pxm_msg*& msg, size_t size);
  std::vector<Entry> lookup(const std::string& name) override;
  void publish(const std::string& name) override;
  void unpublish(const std::string& name) override;

  // The message numbers that handleMessage() takes, in the order the main loop installs them.
  static std::vector<uint32_t> getSignals();

  const std::vector<std::string>& getPublishedNames() const { return publishedNames_; }

 private:
  void handleSubscribeRsp(const uint8_t* msg, size_t size);
  void handleServiceAdded(const uint8_t* msg, size_t size);

  uint64_t nextTag_ = 0;
  pxm_mbox_id_t mailbox_;
  std::map<uint64_t, std::string> pendingSubscriptions_;
  std::map<uint32_t, std::string> subscriptions_;
  std::map<std::string, Callback> callbacks_;
  hkm::PXMInterface* pxm_;
  std::vector<std::string> publishedNames_;
  NsClient* client_;
};

}  // namespace kvn
