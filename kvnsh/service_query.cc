#include "kvnsh/service_query.h"

#include <stdio.h>
#include <unistd.h>

#include <chrono>
#include <memory>

#include "kvnsh/chunk_writer.h"
#include "kvnsh/command_request.h"
#include "kvnsh/command_runner.h"

namespace kvnsh {

ServiceQuery::ServiceQuery(Mailbox& mailbox, std::string service,
                           std::function<uint16_t()> nextRoutine, uint32_t timeoutMs)
    : mailbox_(mailbox),
      service_(std::move(service)),
      nextRoutine_(std::move(nextRoutine)),
      timeoutMs_(timeoutMs) {}

std::string ServiceQuery::operator()(const std::vector<std::string>& words) {
  std::string error;
  if (!CommandRequest::fits(words, &error)) return {};
  const MailboxId service = mailbox_.locate(service_);
  if (service == kNoMailbox) return {};
  // The text may be longer than a pipe holds; a file takes it all.
  std::unique_ptr<FILE, int (*)(FILE*)> file(tmpfile(), fclose);
  if (!file) return {};
  ChunkWriter out(fileno(file.get()), nullptr);
  // The time-out stands in for Ctrl-C: the first aborts the command, the second stops waiting.
  const auto start = std::chrono::steady_clock::now();
  const auto interrupts = [this, start]() -> unsigned {
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                        std::chrono::steady_clock::now() - start)
                        .count();
    return static_cast<unsigned>(ms / timeoutMs_);
  };
  CommandRunner runner(mailbox_, out, interrupts, [](const std::string&) {});
  if (runner.run(service_, service, nextRoutine_(), words) != 0) return {};
  std::string text;
  char buffer[4096];
  rewind(file.get());
  for (size_t n; (n = fread(buffer, 1, sizeof buffer, file.get())) > 0;) text.append(buffer, n);
  return text;
}

}  // namespace kvnsh
