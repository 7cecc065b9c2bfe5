#include "util/cmd/cmd_session_factory.h"

#include <arpa/inet.h>
#include <string.h>

#include <utility>

#include "tavi/tavi_protocol.h"
#include "tracing/log.h"
#include "util/cmd/output_cmd_session.h"

namespace kvn {

void CmdSessionFactory::addRootParser(std::shared_ptr<CmdParser> parser) {
  rootParsers.push_back(std::move(parser));
}

void CmdSessionFactory::pxm_message(pxm_msg*& msg, size_t msgsize) {
  auto* req = reinterpret_cast<KvnTraceCtrlTaviCommandReq*>(msg);
  if (req->header.submsgno != tavi::kCommandReq) {
    CPMUTIL_LOG_ERROR("Unexpected submsgno=%u", tavi::kCommandReq);
    return;
  }
  const pxm_mbox_id_t frontEnd = sender(msg);
  auto proxy =
      std::make_shared<TaviCommandProxy>(getRoutineTable(), frontEnd, req->header.srcRoutineId);

  // The fixed part must be there before anything of it is read.
  constexpr size_t kFixed = offsetof(KvnTraceCtrlTaviCommandReq, args);
  if (msgsize < kFixed) {
    CPMUTIL_LOG_ERROR("Malformed command request: %zu bytes, less than the %zu of its fixed part",
                      msgsize, kFixed);
    fail(proxy, "Malformed command request.", "");
    return;
  }

  const uint32_t version = ntohl(req->protocolVersion);
  if (version != tavi::kProtocolVersion) {
    CPMUTIL_LOG_ERROR("Tavi with bad protocol version connected. Expected %d, but tavi sent %d.",
                      static_cast<int>(tavi::kProtocolVersion), static_cast<int>(version));
    proxy->refuse(tavi::kRefusedBadVersion);
    return;
  }

  const size_t argc = req->argc;
  const size_t argsLength = ntohs(req->argsLength);
  if (argsLength > msgsize - kFixed) {
    CPMUTIL_LOG_ERROR(
        "Malformed command request: argsLength %zu exceeds the %zu bytes of the message",
        argsLength, msgsize - kFixed);
    fail(proxy, "Malformed command request.", "");
    return;
  }

  // Split the block into its strings, and join them with blanks into the command line as typed.
  char* block = req->args;
  std::vector<std::string> args;
  if (argsLength > 0) {
    block[argsLength - 1] = '\0';
    size_t offset = 0;
    while (offset < argsLength) {
      const size_t len = strlen(block + offset);
      args.emplace_back(block + offset, len);
      offset += len;
      block[offset] = ' ';
      ++offset;
    }
    block[argsLength - 1] = '\0';
  }
  const std::string cmdLine = argsLength > 0 ? std::string(block) : std::string();

  if (args.empty()) {
    fail(proxy, "No command received", cmdLine);
    return;
  }
  if (args.size() != argc) {
    fail(proxy, "Reported argument count does not match the actual number of arguments.", cmdLine);
    return;
  }

  for (const auto& root : rootParsers) {
    if (root->getName() != args[0]) continue;
    args.erase(args.begin());
    std::shared_ptr<CmdSession> session;
    try {
      session = root->parse(args);
    } catch (const NotImplementedError&) {
      break;
    } catch (const CmdParserErrorCode& e) {
      session = std::make_shared<OutputCmdSession>(e.what(), e.code());
    } catch (const CmdParserError& e) {
      session = std::make_shared<OutputCmdSession>(e.what(), 1);
    }
    startSession(session, proxy, cmdLine);
    return;
  }

  CPMUTIL_LOG_DEBUG("Tavi requested command which is not implemented: %s", cmdLine.c_str());
  proxy->refuse(tavi::kRefusedNotImplemented);
}

void CmdSessionFactory::startSession(const std::shared_ptr<CmdSession>& session,
                                     const std::shared_ptr<TaviCommandProxy>& proxy,
                                     const std::string& cmdLine) {
  session->attachTavi(proxy);
  const uint16_t cmdId = getRoutineTable()->allocate(session);
  KVN_CMD_START(cmdId, cmdLine.c_str());
  session->start();
}

void CmdSessionFactory::fail(const std::shared_ptr<TaviCommandProxy>& proxy,
                             const std::string& text, const std::string& cmdLine) {
  CPMUTIL_LOG_ERROR("%s", text.c_str());
  startSession(std::make_shared<OutputCmdSession>(text, 1), proxy, cmdLine);
}

}  // namespace kvn
