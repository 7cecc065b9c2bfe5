#include "service/tracecontrol/profile_mask_engine.h"

#include <utility>

#include "service/agents/daxo_record.h"
#include "tracetables/bad_profile_exception.h"
#include "tracetables/profile_provider.h"
#include "tracing/log.h"

namespace kvn {

ProfileMaskEngine::ProfileMaskEngine() = default;
ProfileMaskEngine::~ProfileMaskEngine() = default;

void ProfileMaskEngine::resetIfStale(const DaxoRecord& record) {
  const kvntrace::ProfileProvider* provider = record.profileProvider.get();
  const int role = record.roleIndex;
  if (provider == provider_ && record.instanceName == instance_ && role == role_ &&
      record.traceObjects.data() == objectsData_ && record.traceObjects.size() == objectsSize_)
    return;
  provider_ = provider;
  instance_ = record.instanceName;
  role_ = role;
  objectsData_ = record.traceObjects.data();
  objectsSize_ = record.traceObjects.size();
  allNames_.clear();
  if (provider_) {
    for (std::string& name : provider_->getProfileNames()) allNames_.insert(std::move(name));
  }
  nodes_.clear();
  patterns_.clear();
  patternIds_.clear();
  index_ = std::make_unique<ObjectNameIndex>(record.traceObjects);
  haveBits_ = false;
}

const ProfileMaskEngine::Node* ProfileMaskEngine::node(const std::string& name) {
  auto it = nodes_.find(name);
  if (it != nodes_.end()) return it->second.get();
  if (!provider_) return nullptr;
  auto n = std::make_unique<Node>();
  try {
    n->filtered = provider_->getProfile(name).filter(instance_, role_);
  } catch (const kvntrace::BadProfileException& e) {
    TC_LOG_ERROR("%s", e.what());
    return nullptr;  // not kept: a name is asked for rarely once it failed
  }
  for (const std::string& other : allNames_)
    if (n->filtered.matchesTracePoint(other)) n->includes.push_back(other);
  for (const kvntrace::TraceProbe& probe : n->filtered.getTraceProbes()) {
    auto [at, inserted] = patternIds_.emplace(probe.getTracePoint(), patterns_.size());
    if (inserted) patterns_.emplace_back(probe.getTracePoint());
    n->patterns.push_back(at->second);
  }
  return nodes_.emplace(name, std::move(n)).first->second.get();
}

std::vector<const ProfileMaskEngine::Node*> ProfileMaskEngine::closure(
    const std::set<std::string>& names) {
  std::vector<const Node*> out;
  std::set<std::string> seen;
  std::vector<std::string> stack;
  for (const std::string& root : names) {
    if (!seen.insert(root).second) continue;
    stack.push_back(root);
    while (!stack.empty()) {
      const std::string name = std::move(stack.back());
      stack.pop_back();
      const Node* n = node(name);
      if (!n) continue;
      out.push_back(n);
      for (const std::string& inc : n->includes)
        if (seen.insert(inc).second) stack.push_back(inc);
    }
  }
  return out;
}

std::vector<const kvntrace::Profile*> ProfileMaskEngine::expand(
    const DaxoRecord& record, const std::set<std::string>& names) {
  resetIfStale(record);
  std::vector<const kvntrace::Profile*> out;
  for (const Node* n : closure(names)) out.push_back(&n->filtered);
  return out;
}

const std::vector<uint32_t>& ProfileMaskEngine::bitsFor(const DaxoRecord& record,
                                                        const std::set<std::string>& names) {
  resetIfStale(record);
  if (haveBits_ && bitsKey_ == names) return bits_;
  bits_.assign(record.traceObjects.size(), 0);
  if (!record.traceObjects.empty()) {
    std::vector<bool> used(patterns_.size());
    for (const Node* n : closure(names)) {
      used.resize(patterns_.size());
      for (size_t p : n->patterns) {
        if (used[p]) continue;
        used[p] = true;
        patterns_[p].orInto(*index_, bits_);
      }
    }
  }
  bitsKey_ = names;
  haveBits_ = true;
  return bits_;
}

}  // namespace kvn
