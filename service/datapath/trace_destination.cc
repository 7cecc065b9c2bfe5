#include "service/datapath/trace_destination.h"

#include <arpa/inet.h>
#include <string.h>

#include <algorithm>
#include <iomanip>
#include <sstream>
#include <utility>

#include "service/signals/signal_proxies.h"
#include "service/trace_controller_context.h"
#include "tracing/log.h"

namespace kvn {

namespace {

// A copy of the message's record in which what the message does not hold reads as zero.
template <typename T>
T recordOf(const T* msg, size_t size) {
  T record;
  memset(&record, 0, sizeof record);
  memcpy(&record, msg, std::min(size, sizeof record));
  return record;
}

}  // namespace

TraceDestination::TraceDestination(std::string ip, const KvnTsiProxyIpAddrS& ipAddr,
                                   uint16_t udpPortNr, std::string ldn, uint32_t maxKBytesPerSecond)
    : ip(std::move(ip)),
      ipAddr(ipAddr),
      udpPortNr(udpPortNr),
      ldn(std::move(ldn)),
      maxKBytesPerSecond(maxKBytesPerSecond) {}

void TraceDestination::createTsiSession(const KvnTraceDestAllocCfmS& agentInfo, uint32_t clientRef,
                                        OnCfm onCfm, OnRej onRej) {
  std::shared_ptr<TsiProxy> proxy = TraceControllerContext::get().tsiProxy;
  if (!proxy) {
    onRej("DiagHandler is not connected.");
    return;
  }
  const size_t size = sizeof(KvnTsiProxyCreateUdpSessionReqS);
  auto* req = reinterpret_cast<KvnTsiProxyCreateUdpSessionReqS*>(proxy->alloc_msg(size));
  memset(reinterpret_cast<char*>(req) + sizeof(KvnObsSubMessageWithSubMsgNo), 0,
         size - sizeof(KvnObsSubMessageWithSubMsgNo));
  req->clientRef = clientRef;
  // The parser refuses an LDN that does not fit; cut anyway rather than write past the field.
  const size_t ldnLength = std::min(ldn.size(), kLdnFieldSize - 1);
  memcpy(req->ldn, ldn.data(), ldnLength);
  req->ldn[ldnLength] = '\0';
  req->ipAddr = ipAddr;
  req->udpPortNr = udpPortNr;
  req->reserved = 0;
  req->sourceInfoA = agentInfo.sourceInfoA;
  req->sourceInfoB = agentInfo.sourceInfoB;
  memcpy(req->sourceMac, agentInfo.sourceMac, sizeof req->sourceMac);

  std::shared_ptr<TraceDestination> self = shared_from_this();
  proxy->send(
      req,
      [self, agentInfo, onCfm = std::move(onCfm)](KvnTsiProxyCreateUdpSessionCfmS*& cfm,
                                                  size_t cfmSize) {
        self->confirmed(*cfm, cfmSize, agentInfo, onCfm);
      },
      [onRej = std::move(onRej)](KvnTsiProxyCreateUdpSessionRejS*& rej, size_t rejSize) {
        const size_t offset = offsetof(KvnTsiProxyCreateUdpSessionRejS, reason);
        const uint16_t length = kvnsig::readAt<uint16_t>(
            rej, offsetof(KvnTsiProxyCreateUdpSessionRejS, reasonLength), rejSize);
        const size_t held = rejSize > offset ? rejSize - offset : 0;
        if (length > held)
          TC_LOG_ERROR(
              "KvnTsiProxyCreateUdpSessionRejS of %zu bytes holds %zu of its %u reason "
              "characters",
              rejSize, held, length);
        onRej(std::string(reinterpret_cast<const char*>(rej) + offset,
                          std::min<size_t>(length, held)));
      });
  TC_LOG_INFO("Sent signal KvnTsiProxyCreateUdpSessionReqS to TsiProxy");
}

void TraceDestination::confirmed(const KvnTsiProxyCreateUdpSessionCfmS& msg, size_t size,
                                 const KvnTraceDestAllocCfmS& agentInfo, const OnCfm& onCfm) {
  if (size < sizeof(KvnTsiProxyCreateUdpSessionCfmS))
    TC_LOG_ERROR(
        "KvnTsiProxyCreateUdpSessionCfmS of %zu bytes is shorter than its %zu-byte "
        "record; what it lacks reads as 0",
        size, sizeof(KvnTsiProxyCreateUdpSessionCfmS));
  const KvnTsiProxyCreateUdpSessionCfmS cfm = recordOf(&msg, size);
  ++activeTsiSessions;
  TnParameters p;
  p.sessionId = cfm.sessionId;
  p.pcep = cfm.pcep;
  p.qidx = cfm.qidx;
  memcpy(p.mac, cfm.mac, sizeof p.mac);
  p.innerVlan = cfm.innerVlan != 0 ? static_cast<uint16_t>(cfm.innerVlan) : agentInfo.agentVlan;
  p.outerVlan = static_cast<uint16_t>(cfm.outerVlan & 0xFFFF);
  TC_LOG_INFO(
      "Updating Tn parameters. SessionId: %u, pcep: %u, qidx:%u, Mac: "
      "%02x:%02x:%02x:%02x:%02x:%02x, InnerVlan: %u, OuterVlan: %u",
      p.sessionId, p.pcep, p.qidx, p.mac[0], p.mac[1], p.mac[2], p.mac[3], p.mac[4], p.mac[5],
      p.innerVlan, p.outerVlan);
  onCfm(p);
}

void TraceDestination::deleteTsiSession(uint32_t clientRef) {
  if (activeTsiSessions == 0) {
    TC_LOG_INFO("Did not cleanup because the tsiSession is not active");
    return;
  }
  --activeTsiSessions;
  std::shared_ptr<TsiProxy> proxy = TraceControllerContext::get().tsiProxy;
  if (!proxy) {
    TC_LOG_ERROR("DiagHandler mailbox is invalid!");
    return;
  }
  auto* ind = proxy->make<KvnTsiProxyDeleteUdpSessionIndS>();
  ind->clientRef = clientRef;
  proxy->send(ind);
}

std::string TraceDestination::describe() const {
  char text[49] = {};
  inet_ntop(ipAddr.family == 6 ? AF_INET6 : AF_INET, ipAddr.addr, text, sizeof text);
  std::ostringstream out;
  out << "ldn: " << ldn << "\n"
      << "ip: " << ip << "\n"
      << "ipAddr: " << text << "\n"
      << "udpPortNr: " << udpPortNr << "\n"
      << "maxKBytesPerSecond: " << maxKBytesPerSecond << "\n";
  return out.str();
}

std::string TraceDestination::listRow() const {
  std::ostringstream out;
  out << std::left << std::setw(41) << ip << std::setw(6) << udpPortNr << std::setw(24)
      << maxKBytesPerSecond << std::setw(15) << ldn << "\n";
  return out.str();
}

}  // namespace kvn
