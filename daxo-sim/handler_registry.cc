#include "daxo-sim/handler_registry.h"

#include <utility>

namespace kvn::daxosim {

HandlerRegistry::HandlerRegistry(std::unique_ptr<AgentHandler> fallback)
    : fallback_(std::move(fallback)) {}

void HandlerRegistry::add(uint16_t implementsCode, std::unique_ptr<AgentHandler> handler) {
  byCode_[implementsCode] = std::move(handler);
}

void HandlerRegistry::deploy(uint16_t routineId, uint16_t implementsCode) {
  codeByRoutine_[routineId] = implementsCode;
}

void HandlerRegistry::deployAll(const AgentDescription& description) {
  for (const AgentDescription::Attribute& a : description.attributes)
    if (a.propertyType == 0) deploy(a.routineId, a.value[0]);
}

uint16_t HandlerRegistry::codeOf(uint16_t routineId) const {
  auto it = codeByRoutine_.find(routineId);
  return it == codeByRoutine_.end() ? kNoCode : it->second;
}

AgentHandler& HandlerRegistry::handlerFor(uint16_t routineId) const {
  auto it = byCode_.find(codeOf(routineId));
  return it == byCode_.end() ? *fallback_ : *it->second;
}

}  // namespace kvn::daxosim
