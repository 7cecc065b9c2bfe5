#include "service/agents/daxo_trace_model.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "service/agents/daxo_connect_hooks.h"
#include "service/signals/daxo_connect_signals.h"
#include "tracetables/bad_lmc_exception.h"
#include "tracetables/invalid_probe_exception.h"
#include "tracetables/profile.h"
#include "tracetables/profile_provider.h"
#include "tracetables/trace_lmc_reader.h"
#include "tracing/log.h"

namespace kvn {

namespace {

using Attribute = DaxoAttribute;

DaxoRecord& table(size_t index) {
  // Built on first use and kept to the end: no agent data is allocated at start.
  static DaxoRecord records[DaxoTraceModel::MAX_DAXO_NUMBER];
  return records[index];
}

std::vector<DaxoConnectHooks*>& connectHooks() {
  static std::vector<DaxoConnectHooks*> hooks;
  return hooks;
}

template <typename ProxyT>
std::shared_ptr<ProxyT> makeProxy(RoutineTable* routineTable, const DaxoRecord& r, uint16_t id) {
  return std::make_shared<ProxyT>(routineTable, r.mailbox, id, r.lostEvent->getId());
}

void setUpTraceObjects(DaxoRecord& r) {
  const std::vector<std::string> names = r.traceLmcReader->getTraceObjectNames(r.loadModuleName);
  const std::vector<int32_t> ids = r.traceLmcReader->getStrIdToTraceId(r.loadModuleName);
  if (ids.size() != names.size()) {
    TC_LOG_ERROR(
        "traceId table is size %d but traceObjName table is size %d. Aborting trace "
        "object setup",
        static_cast<int>(ids.size()), static_cast<int>(names.size()));
    return;
  }
  r.traceObjects.reserve(names.size());
  for (size_t i = 0; i < names.size(); ++i) {
    if (ids[i] >= 65535)
      TC_LOG_ERROR("Unknown traceId for strId %d (%s)", static_cast<int>(i), names[i].c_str());
    r.traceObjects.push_back(
        {static_cast<uint16_t>(i), static_cast<uint16_t>(ids[i]), names[i], 0});
  }
  r.enabledProfiles.insert("DefaultProfile");
}

// What one routine of the agent is, from its attributes. False when they do not make sense.
struct RoutineFacts {
  uint16_t routineId = kDaxoRoutineNotDeployed;
  int implementsCount = 0;
  int propertyCount = 0;
  int linkCount = 0;
  uint16_t code = 0;
  uint16_t number = 0;
  uint16_t source = 0;
  uint16_t destination = 0;
};

bool deployRoutine(DaxoRecord& r, const RoutineFacts& f, RoutineTable* routineTable) {
  if (f.routineId == kDaxoRoutineNotDeployed) return true;
  if (f.implementsCount == 0) {
    fprintf(stderr, "Too many IMPLEMENTS (#:%d) for routine:%d ", f.propertyCount, f.routineId);
    return false;
  }
  if (f.implementsCount > 1) {
    fprintf(stderr, "Model expect IMPLEMENTS for routine:%d", f.routineId);
    return false;
  }
  const uint16_t id = f.routineId;
  switch (f.code) {
    case kImplementsEmbuf:
      r.embuf.superTraceRoutine = id;
      r.embuf.superTraceControlProxy = makeProxy<SuperTraceControlProxy>(routineTable, r, id);
      break;
    case kImplementsTraceDest:
      r.traceDest.id = id;
      r.traceDest.proxy = makeProxy<TraceDestProxy>(routineTable, r, id);
      break;
    case kImplementsForwarder: {
      if (f.linkCount != 1) {
        fprintf(stderr, "Model expect LINK, #of LINK:%d ", f.linkCount);
        return false;
      }
      if (f.source >= kForwarderKindCount || f.destination >= kForwarderKindCount) {
        // The forwarder table has no cell for it; nothing is written.
        TC_LOG_ERROR("Forwarder routine %d serves LINK %d -> %d outside the forwarder table", id,
                     f.source, f.destination);
        return false;
      }
      ForwarderLink& link = r.links[f.source][f.destination];
      link.deployed = true;
      link.id = id;
      if (f.propertyCount == 1) link.linkCount = f.number;
      link.connectionProxy_p = makeProxy<TraceLinkConnectionProxy>(routineTable, r, id);
      break;
    }
    case kImplementsMemoryBuffer:
      r.embuf.bufferRoutine = id;
      r.embuf.superTraceBufferProxy = makeProxy<SuperTraceBufferProxy>(routineTable, r, id);
      break;
    case kImplementsRttManager:
      r.rttManager.id = id;
      r.rttManager.proxy = makeProxy<RttProxy>(routineTable, r, id);
      break;
    case kImplementsMeasurements:
      r.dspLoad.id = id;
      r.dspLoad.proxy = makeProxy<DspLoadProxy>(routineTable, r, id);
      r.cmPool.id = id;
      r.cmPool.proxy = makeProxy<CmPoolProxy>(routineTable, r, id);
      break;
    case kImplementsTraceHitCounter:
      r.traceHitCounter.id = id;
      r.traceHitCounter.proxy = makeProxy<TraceHitCounterProxy>(routineTable, r, id);
      break;
    case kImplementsTraceObjectManager:
      r.traceObjectManager.id = id;
      r.traceObjectManager.proxy = makeProxy<TraceObjectProxy>(routineTable, r, id);
      setUpTraceObjects(r);
      break;
    case kImplementsUniqueTraceManager:
      r.uniqueTraceManager.id = id;
      r.uniqueTraceManager.proxy = makeProxy<UTraceProxy>(routineTable, r, id);
      break;
    case kImplementsSig2emManager:
      r.sig2emManager.id = id;
      r.sig2emManager.proxy = makeProxy<Sig2emProxy>(routineTable, r, id);
      break;
    default:
      return true;  // a function this service does not use
  }
  for (DaxoConnectHooks* hooks : connectHooks()) hooks->deployed(r, f.code);
  return true;
}

bool deployAll(DaxoRecord& r, std::vector<Attribute> attributes, RoutineTable* routineTable) {
  std::stable_sort(attributes.begin(), attributes.end(),
                   [](const Attribute& a, const Attribute& b) {
                     return a.routineId != b.routineId ? a.routineId < b.routineId
                                                       : a.propertyType < b.propertyType;
                   });
  bool valid = true;
  RoutineFacts facts;
  for (const Attribute& a : attributes) {
    if (a.routineId != facts.routineId) {
      valid = deployRoutine(r, facts, routineTable) && valid;
      facts = RoutineFacts();
      facts.routineId = a.routineId;
    }
    switch (a.propertyType) {
      case daxo_connect::kImplements:
        facts.code = a.value[0];
        ++facts.implementsCount;
        break;
      case daxo_connect::kLinkCount:
        facts.number = a.value[0];
        ++facts.propertyCount;
        break;
      case daxo_connect::kLink:
        facts.source = a.value[0];
        facts.destination = a.value[1];
        ++facts.linkCount;
        break;
      default:
        break;
    }
  }
  return deployRoutine(r, facts, routineTable) && valid;
}

bool build(DaxoRecord& r, std::vector<Attribute> attributes, RoutineTable* routineTable) {
  r.traceLmcReader = std::make_shared<kvntrace::TraceLmcReader>(r.lmcPath);
  // The tables read below all come from the metadata module: one extraction serves them.
  const kvntrace::TraceLmcReader::Hold oneExtraction(*r.traceLmcReader);
  r.profileProvider = std::make_shared<kvntrace::ProfileProvider>(r.lmcPath);
  if (!r.lmcPath.empty()) {
    try {
      r.profileProvider->populate();
    } catch (const kvntrace::BadLmcException& e) {
      TC_LOG_ERROR("%s", e.what());
    } catch (const kvntrace::InvalidProbeException& e) {
      TC_LOG_ERROR("%s", e.what());
    }
  } else {
    TC_LOG_ERROR("LMC path was not provided. ProfileProvider is not populated.");
  }
  for (DaxoConnectHooks* hooks : connectHooks()) hooks->building(r);
  const bool valid = deployAll(r, std::move(attributes), routineTable);
  for (DaxoConnectHooks* hooks : connectHooks()) hooks->built(r);
  if (!r.traceLmcReader->getUtraceMeta(r.loadModuleName).empty() &&
      r.uniqueTraceManager.id == kDaxoRoutineNotDeployed)
    TC_LOG_ERROR("Utrace is found in LMC but boot function has not been deployed.");
  if (r.profileProvider->getFlightRecorderProfile() != kvntrace::Profile() &&
      r.sig2emManager.id == kDaxoRoutineNotDeployed)
    TC_LOG_ERROR("Sig2em is found in LMC but boot function has not been deployed.");
  return valid;
}

// The common start of both connects: the record replaced and its connection made new.
DaxoRecord& freshRecord(uint16_t number, uint32_t mailbox) {
  DaxoRecord& r = table(number - 1);
  r = DaxoRecord();
  r.bbmHwNumber = number;
  r.mailbox = mailbox;
  r.lostEvent = std::make_shared<kvntrace::Event>();
  return r;
}

}  // namespace

DaxoRecord& DaxoTraceModel::get(uint16_t bbmHwNumber) { return table(bbmHwNumber - 1); }

kvntrace::EventId DaxoTraceModel::getDaxoLostEvent(uint16_t bbmHwNumber) {
  const std::shared_ptr<kvntrace::Event>& event_p = get(bbmHwNumber).lostEvent;
  KVNTRACE_ASSERT(event_p != nullptr);
  return event_p->getId();
}

bool DaxoTraceModel::findByMailbox(uint32_t mailbox, uint16_t& bbmHwNumber) {
  bbmHwNumber = 0;
  for (uint16_t n = 1; n <= MAX_DAXO_NUMBER; ++n) {
    if (get(n).mailbox == mailbox) {
      bbmHwNumber = n;
      break;
    }
  }
  return true;
}

uint16_t DaxoTraceModel::findByLostEvent(kvntrace::EventId eventId) {
  for (uint16_t n = 1; n <= MAX_DAXO_NUMBER; ++n) {
    const DaxoRecord& r = get(n);
    if (r.bbmHwNumber != 0 && r.lostEvent && r.lostEvent->getId() == eventId) return n;
  }
  return 0;
}

bool DaxoTraceModel::connect(const DaxoConnect& message, uint32_t mailbox,
                             RoutineTable* routineTable) {
  const uint16_t number = message.bbmHwNumber;
  if (number == 0 || number > MAX_DAXO_NUMBER) {
    if (message.initial)
      TC_LOG_ERROR("Daxo connected with bbmHwNumber=%d. Allowed bbmHwNumbers are 1 - %d", number,
                   MAX_DAXO_NUMBER);
    else
      TC_LOG_ERROR("Daxo connected with bbmHwNumber=%d.Allowed bbmHwNumbers are 1 - %d", number,
                   MAX_DAXO_NUMBER);
    return false;
  }
  DaxoRecord& r = freshRecord(number, mailbox);
  r.instanceName = message.instanceName;
  r.domainDaxoIndex = message.domainDaxoIndex;
  r.connected = true;
  if (!message.initial) {
    r.loadModuleName = message.loadModuleName;
    r.lmcPath = message.lmcPath;
    r.version = message.version;
    // A role index that the message does not hold leaves the default.
    if (message.roleIndex) r.roleIndex = *message.roleIndex;
  }
  r.modelValid = build(r, message.attributes, routineTable);
  return r.modelValid;
}

bool DaxoTraceModel::attachLink(uint16_t bbmHwNumber, uint16_t source, uint16_t destination,
                                uint16_t& id) {
  id = kDaxoRoutineNotDeployed;
  if (source >= kForwarderKindCount || destination >= kForwarderKindCount) return false;
  ForwarderLink& link = get(bbmHwNumber).links[source][destination];
  if (!link.deployed || link.attached) return false;
  link.attached = true;
  id = link.id;
  return true;
}

bool DaxoTraceModel::detachLink(uint16_t bbmHwNumber, uint16_t source, uint16_t destination,
                                uint16_t& id) {
  id = kDaxoRoutineNotDeployed;
  if (source >= kForwarderKindCount || destination >= kForwarderKindCount) return false;
  ForwarderLink& link = get(bbmHwNumber).links[source][destination];
  if (!link.deployed || !link.attached) return false;
  link.attached = false;
  id = link.id;
  return true;
}

std::string DaxoTraceModel::savedStatePath(const DaxoRecord& record) {
  std::string name = record.instanceName;
  std::replace(name.begin(), name.end(), '/', '-');
  const std::string base =
      "savedTraceGroupsAndProfilesTC2_" + name + "-" + std::to_string(record.domainDaxoIndex);
  if (const char* logDir = getenv("LOG_DIR")) return std::string(logDir) + "/" + base;
  std::string path = "/tmp/" + base;
  if (const char* id = getenv("TRACE_CONTROLLER_ID")) path += id;
  return path;
}

void DaxoTraceModel::addConnectHooks(DaxoConnectHooks* hooks) { connectHooks().push_back(hooks); }

void DaxoTraceModel::removeConnectHooks(DaxoConnectHooks* hooks) {
  auto& all = connectHooks();
  all.erase(std::remove(all.begin(), all.end(), hooks), all.end());
}

void DaxoTraceModel::resetAll() {
  for (size_t i = 0; i < MAX_DAXO_NUMBER; ++i) table(i) = DaxoRecord();
}

}  // namespace kvn
