#pragma once
// A named network endpoint for an agent's trace stream. It owns the exchange with the TSI
// proxy: asking for a UDP session for one agent's port, and deleting it again.

#include <stdint.h>

#include <functional>
#include <memory>
#include <string>

#include "service/datapath/tn_parameters.h"
#include "service/signals/trace_dest_signals.h"
#include "service/signals/tsi_proxy_signals.h"

namespace kvn {

class TraceDestination : public std::enable_shared_from_this<TraceDestination> {
 public:
  static constexpr uint32_t kDefaultMaxKBytesPerSecond = 100000000;
  // The LDN field of the session request holds this much, terminating zero included.
  static constexpr size_t kLdnFieldSize = sizeof(KvnTsiProxyCreateUdpSessionReqS::ldn);

  using OnCfm = std::function<void(const TnParameters&)>;
  using OnRej = std::function<void(const std::string&)>;

  // `ipAddr` is the parsed form of `ip`. The LDN must fit its field with its terminator.
  TraceDestination(std::string ip, const KvnTsiProxyIpAddrS& ipAddr, uint16_t udpPortNr,
                   std::string ldn, uint32_t maxKBytesPerSecond = kDefaultMaxKBytesPerSecond);
  virtual ~TraceDestination() = default;

  // Asks the TSI proxy for a UDP session for the agent port described by `agentInfo` (the
  // body of its allocation confirm). `onRej` gets the reason.
  virtual void createTsiSession(const KvnTraceDestAllocCfmS& agentInfo, uint32_t clientRef,
                                OnCfm onCfm, OnRej onRej);
  virtual void deleteTsiSession(uint32_t clientRef);
  // ldn, ip, ipAddr, udpPortNr and maxKBytesPerSecond, a line each.
  virtual std::string describe() const;
  // The row of `dest list` after the name column.
  virtual std::string listRow() const;
  virtual uint32_t getMaxKBytesPerSecond() const { return maxKBytesPerSecond; }

  uint16_t getActiveTsiSessions() const { return activeTsiSessions; }

 private:
  void confirmed(const KvnTsiProxyCreateUdpSessionCfmS& cfm, size_t size,
                 const KvnTraceDestAllocCfmS& agentInfo, const OnCfm& onCfm);

  std::string ip;
  KvnTsiProxyIpAddrS ipAddr;
  uint16_t udpPortNr;
  std::string ldn;
  uint32_t maxKBytesPerSecond;
  uint16_t activeTsiSessions = 0;
};

}  // namespace kvn
