#include "daxo-sim/forwarder_handler.h"

#include <stdexcept>

#include <nlohmann/json.hpp>

#include "base/big_endian.h"

namespace kvn::daxosim {

namespace {

enum : uint16_t {
  kAttachReq = 0,
  kDetachReq = 1,
  kAttachCfm = 0,
  kAttachRej = 1,
  kDetachCfm = 2,
  kDetachRej = 3,
};
constexpr uint16_t kLinkProperty = 3;

}  // namespace

ForwarderHandler::ForwarderHandler(const AgentDescription& description, Reject reject)
    : reject_(reject) {
  for (const AgentDescription::Attribute& a : description.attributes)
    if (a.propertyType == kLinkProperty) links_[a.routineId] = {a.value[0], a.value[1]};
}

void ForwarderHandler::handle(const Request& request, const ReplyPath& reply,
                              nlohmann::json& entry) {
  if (request.submsgno != kAttachReq && request.submsgno != kDetachReq) {
    entry["answered"] = false;
    return;
  }
  if (request.bodySize < 4) throw std::runtime_error("route request without link and socket");
  const bool attach = request.submsgno == kAttachReq;
  const uint16_t linkIndex = loadBe16(request.body);
  const uint16_t socket = loadBe16(request.body + 2);
  entry["linkIndex"] = linkIndex;
  entry["socket"] = socket;
  if (reject_ == (attach ? Reject::kAttach : Reject::kDetach)) {
    reply.send(attach ? kAttachRej : kDetachRej, {0, 1});
    entry["answer"] = "rejected";
    return;
  }
  const Key key{request.dstRoutineId, linkIndex};
  if (attach)
    attached_[key] = socket;
  else
    attached_.erase(key);
  reply.send(attach ? kAttachCfm : kDetachCfm, {});
  entry["answer"] = "confirmed";
  if (onLinkChanged_ && links_.count(request.dstRoutineId)) {
    const Link& link = links_.at(request.dstRoutineId);
    onLinkChanged_(link.source, link.destination, socket, attach);
  }
  nlohmann::json table = nlohmann::json::array();
  for (const auto& [k, s] : attached_) {
    const Link link = links_.count(k.first) ? links_.at(k.first) : Link{};
    table.push_back({{"routine", k.first},
                     {"source", link.source},
                     {"destination", link.destination},
                     {"linkIndex", k.second},
                     {"socket", s}});
  }
  entry["attached"] = table;
}

}  // namespace kvn::daxosim
