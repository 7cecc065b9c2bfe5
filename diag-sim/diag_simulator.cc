#include "diag-sim/diag_simulator.h"

#include <stdio.h>
#include <string.h>

#include <fstream>

#include <nlohmann/json.hpp>

#include "base/big_endian.h"
#include "diag-sim/diag_message.h"
#include "pxm/pxm.h"
#include "sim/hub_join.h"
#include "sim/send_bytes.h"
#include "sim/udp_stream.h"

namespace kvn::diagsim {

namespace {
constexpr uint32_t kReceiveTimeoutMs = 200;  // how long a stop request may wait
}  // namespace

DiagSimulator::DiagSimulator(Options options, sim::Journal& journal)
    : options_(std::move(options)), journal_(journal), ownMailbox_(PXM_NO_MBOX) {}

DiagSimulator::~DiagSimulator() {
  closeMailbox();
  if (initialized_) pxm_exit();
}

int DiagSimulator::run(const volatile sig_atomic_t& stop, volatile sig_atomic_t& rejoin) {
  if (!sim::joinHub(options_.nameSpace)) return 1;
  initialized_ = true;
  if (!openMailbox()) return 1;
  findService();
  while (!stop) {
    if (rejoin) {
      rejoin = 0;
      // Deleting the mailbox is what the service sees as the diag handler going away.
      closeMailbox();
      held_.clear();
      journal_.event("left");
      if (!openMailbox()) return 1;
      findService();
    }
    sendDue();
    uint32_t timeout = kReceiveTimeoutMs;
    if (!held_.empty()) {
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
          held_.front().due - std::chrono::steady_clock::now());
      timeout = left.count() < 1 ? 1 : std::min<uint32_t>(timeout, left.count());
    }
    pxm_msg* msg = pxm_receive(nullptr, timeout, PXM_FROM_ALL);
    if (!msg) continue;
    handle(msg);
    pxm_free(&msg);
  }
  journal_.event("stopped");
  return 0;
}

bool DiagSimulator::openMailbox() {
  ownMailbox_ = sim::openMailbox(options_.mailboxName);
  return ownMailbox_ != PXM_NO_MBOX;
}

void DiagSimulator::closeMailbox() {
  watch_.forget();
  if (ownMailbox_ != PXM_NO_MBOX) pxm_delete_mailbox(ownMailbox_);
  ownMailbox_ = PXM_NO_MBOX;
}

void DiagSimulator::findService() {
  if (const std::optional<uint32_t> id = watch_.locate(options_.serviceName))
    hello(*id);
  else
    journal_.event("waiting_for_service");
}

void DiagSimulator::hello(uint32_t service) {
  watch_.watch(service);
  ++hellos_;
  sim::sendBytes(DiagMessage::encode(DiagMessage::kServiceRoutine, kHelloRoutine,
                                     DiagMessage::kHello, DiagMessage::helloBody(hellos_)),
                 service);
  nlohmann::json entry;
  entry["event"] = "hello_sent";
  entry["service"] = service;
  entry["mailbox"] = ownMailbox_;
  entry["hello"] = hellos_;
  journal_.write(entry);
}

void DiagSimulator::handle(pxm_msg* msg) {
  const uint32_t sender = pxm_sender(msg);
  const size_t size = pxm_size(msg);
  const uint8_t* bytes = reinterpret_cast<const uint8_t*>(msg);
  if (msg->msgno == DiagMessage::kBaseSignalNo) {
    handleRoutineMessage(sender, bytes, size);
    return;
  }
  switch (watch_.classify(msg)) {
    case sim::ServiceWatch::Event::kFound:
      findService();
      return;
    case sim::ServiceWatch::Event::kLost:
      held_.clear();
      journal_.event("service_lost");
      findService();
      return;
    case sim::ServiceWatch::Event::kNone:
      break;
  }
  nlohmann::json entry;
  entry["from"] = sender;
  entry["msgno"] = msg->msgno;
  entry["size"] = size;
  entry["error"] = "unexpected message number";
  journal_.write(entry);
}

void DiagSimulator::handleRoutineMessage(uint32_t sender, const uint8_t* bytes, size_t size) {
  nlohmann::json entry;
  entry["from"] = sender;
  entry["size"] = size;
  if (size < DiagMessage::kHeaderSize) {
    entry["error"] = "shorter than the message header";
    journal_.write(entry);
    return;
  }
  const uint16_t dst = loadBe16(bytes + 4), src = loadBe16(bytes + 6),
                 submsgno = loadBe16(bytes + 8);
  const uint8_t* body = bytes + DiagMessage::kHeaderSize;
  const size_t bodySize = size - DiagMessage::kHeaderSize;
  entry["dst"] = dst;
  entry["src"] = src;
  entry["submsgno"] = submsgno;
  entry["body"] = sim::Journal::hex(body, bodySize);
  if (dst == kHelloRoutine && submsgno == DiagMessage::kHelloReply) {
    entry["name"] = "HELLO_REPLY";
    DiagMessage::readHelloReply(body, bodySize, entry);
  } else if (dst == kTsiProxyRoutine && submsgno == DiagMessage::kCreateReq) {
    entry["name"] = "KVN_TSI_PROXY_CREATE_UDP_SESSION_REQ";
    DiagMessage::readCreateRequest(body, bodySize, entry);
    const TsiAnswer& a = options_.answer;
    if (a.reject)
      reply(DiagMessage::encode(src, kTsiProxyRoutine, DiagMessage::kCreateRej, a.rejectBody()),
            sender, "reject", entry);
    else {
      publishSession(entry);
      reply(DiagMessage::encode(src, kTsiProxyRoutine, DiagMessage::kCreateCfm, a.confirmBody()),
            sender, "confirm", entry);
    }
  } else if (dst == kTsiProxyRoutine && submsgno == DiagMessage::kDeleteInd) {
    entry["name"] = "KVN_TSI_PROXY_DELETE_UDP_SESSION_IND";
    DiagMessage::readDeleteIndication(body, bodySize, entry);
  } else {
    entry["error"] = "not a message of the diag handler";
  }
  journal_.write(entry);
}

void DiagSimulator::reply(std::vector<uint8_t> message, uint32_t to, const char* what,
                          nlohmann::json& entry) {
  switch (options_.replyMode) {
    case ReplyMode::kAtOnce:
      sim::sendBytes(message, to);
      entry[what] = "sent";
      return;
    case ReplyMode::kDelayed:
      held_.push_back(
          {std::chrono::steady_clock::now() + options_.replyDelay, std::move(message), to});
      entry[what] = "delayed";
      return;
    case ReplyMode::kDropped:
      entry[what] = "dropped";
      return;
  }
}

void DiagSimulator::sendDue() {
  const auto now = std::chrono::steady_clock::now();
  while (!held_.empty() && held_.front().due <= now) {
    const Held h = held_.front();
    held_.pop_front();
    sim::sendBytes(h.message, h.to);
    nlohmann::json entry;
    entry["event"] = "reply_sent";
    entry["to"] = loadBe16(h.message.data() + 4);
    entry["submsgno"] = loadBe16(h.message.data() + 8);
    journal_.write(entry);
  }
}

void DiagSimulator::publishSession(const nlohmann::json& request) {
  if (options_.sessionsDir.empty() || !request.contains("ip")) return;
  const std::string path =
      sim::UdpStream::sessionFile(options_.sessionsDir, options_.answer.sessionId);
  // Whole or not at all: the agent may read it at any moment.
  const std::string temporary = path + ".new";
  std::ofstream(temporary) << request["ip"].get<std::string>() << " "
                           << request["udpPortNr"].get<uint16_t>() << "\n";
  rename(temporary.c_str(), path.c_str());
}

}  // namespace kvn::diagsim
