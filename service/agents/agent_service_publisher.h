#pragma once
// Decides which service names this process wants published, from the agents that are
// connected: per agent "<base>:<agent name>" (when it has a name) and "<base>;<number>", plus
// the instance names it is given. Names of agents that went linger until another instance
// publishes them. A routine, so that it hears the connect event and the agents' lost events.

#include <stdint.h>

#include <memory>
#include <set>
#include <string>

#include "util/mainloop/event.h"
#include "util/mainloop/routine.h"
#include "util/ns/lingering_ns_handler.h"

class AgentServicePublisher : public kvn::Routine {
 public:
  // `names` must outlive this object.
  AgentServicePublisher(kvn::LingeringNsHandler* names,
                        std::shared_ptr<kvntrace::Event> connectEvent, std::string baseName,
                        std::string mailboxName);

  // Publishes "<base>:<name>" for good.
  void publishInstance(const std::string& name);
  void handleEvent(kvntrace::EventId event) override;

  // "<base><separator><part>", every "/" of `part` made "-".
  std::string buildName(const std::string& part, char separator) const;

 private:
  void agentsConnected();
  void agentsLost();

  std::shared_ptr<kvntrace::Event> connectEvent_;
  std::set<std::string> instanceNames_;
  std::set<std::string> agentNames_;
  std::string baseName_;
  kvn::LingeringNsHandler* names_;
  std::string mailboxName_;
};
