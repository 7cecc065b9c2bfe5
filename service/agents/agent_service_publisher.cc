#include "service/agents/agent_service_publisher.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "service/agents/daxo_trace_model.h"

AgentServicePublisher::AgentServicePublisher(kvn::LingeringNsHandler* names,
                                             std::shared_ptr<kvntrace::Event> connectEvent,
                                             std::string baseName, std::string mailboxName)
    : connectEvent_(std::move(connectEvent)),
      baseName_(std::move(baseName)),
      names_(names),
      mailboxName_(std::move(mailboxName)) {
  subscribeEvent(connectEvent_->getId());
}

std::string AgentServicePublisher::buildName(const std::string& part, char separator) const {
  std::string name = baseName_;
  name += separator;
  name += part;
  std::replace(name.begin() + static_cast<std::ptrdiff_t>(baseName_.size()) + 1, name.end(), '/',
               '-');
  return name;
}

void AgentServicePublisher::publishInstance(const std::string& name) {
  const std::string service = buildName(name, ':');
  names_->publish(service);
  instanceNames_.insert(service);
}

void AgentServicePublisher::handleEvent(kvntrace::EventId event) {
  if (event == connectEvent_->getId())
    agentsConnected();
  else
    agentsLost();
}

void AgentServicePublisher::agentsConnected() {
  for (uint16_t n = 1; n <= kvn::DaxoTraceModel::MAX_DAXO_NUMBER; ++n) {
    const kvn::DaxoRecord& record = kvn::DaxoTraceModel::get(n);
    if (!record.connected || !record.lostEvent) continue;
    const kvntrace::EventId lost = record.lostEvent->getId();
    bool subscribed = false;
    const std::string named = buildName(record.instanceName, ':');
    if (!record.instanceName.empty() && agentNames_.count(named) == 0 &&
        instanceNames_.count(named) == 0) {
      names_->publish(named);
      agentNames_.insert(named);
      subscribeEvent(lost);
      subscribed = true;
    }
    const std::string numbered = buildName(std::to_string(n), ';');
    if (agentNames_.count(numbered) == 0) {
      names_->publish(numbered);
      agentNames_.insert(numbered);
      if (!subscribed) subscribeEvent(lost);
    }
  }
}

void AgentServicePublisher::agentsLost() {
  std::set<std::string> wanted;
  for (uint16_t n = 1; n <= kvn::DaxoTraceModel::MAX_DAXO_NUMBER; ++n) {
    const kvn::DaxoRecord& record = kvn::DaxoTraceModel::get(n);
    if (record.connected) {
      wanted.insert(buildName(record.instanceName, ':'));
      wanted.insert(buildName(std::to_string(n), ';'));
    } else if (record.lostEvent) {
      // That connection is over; its event will not come again.
      unsubscribeEvent(record.lostEvent->getId());
    }
  }
  std::vector<std::string> unwanted;
  std::set_difference(agentNames_.begin(), agentNames_.end(), wanted.begin(), wanted.end(),
                      std::back_inserter(unwanted));
  for (const std::string& name : unwanted) {
    names_->linger(name);
    agentNames_.erase(name);
  }
}
