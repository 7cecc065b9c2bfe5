#include "sim/command_line.h"

#include <signal.h>
#include <stdlib.h>
#include <string.h>

#include <stdexcept>

namespace kvn::sim {

namespace {

// Codes of the common options; a simulator's own start at 1 and stay below these.
enum : int { kService = 0x1000, kMailbox, kNamespace, kJournal, kHelp };

}  // namespace

int CommandLine::read(int argc, char** argv, const poptOption* own, const OwnOption& onOwn) {
  const poptOption table[] = {
      {"service", '\0', POPT_ARG_STRING, nullptr, kService, nullptr, nullptr},
      {"mailbox", '\0', POPT_ARG_STRING, nullptr, kMailbox, nullptr, nullptr},
      {"namespace", '\0', POPT_ARG_STRING, nullptr, kNamespace, nullptr, nullptr},
      {"journal", '\0', POPT_ARG_STRING, nullptr, kJournal, nullptr, nullptr},
      {"help", '\0', POPT_ARG_NONE, nullptr, kHelp, nullptr, nullptr},
      {nullptr, '\0', POPT_ARG_INCLUDE_TABLE, const_cast<poptOption*>(own), 0, nullptr, nullptr},
      POPT_TABLEEND};
  std::unique_ptr<poptContext_s, poptContext (*)(poptContext)> ctx(
      poptGetContext(program_, argc, const_cast<const char**>(argv), table, 0), poptFreeContext);
  int rc;
  while ((rc = poptGetNextOpt(ctx.get())) > 0) {
    std::unique_ptr<char, void (*)(void*)> arg(poptGetOptArg(ctx.get()), free);  // ours to free
    const char* text = arg ? arg.get() : "";
    switch (rc) {
      case kService:
        service = text;
        break;
      case kMailbox:
        mailbox = text;
        break;
      case kNamespace:
        nameSpace = text;
        break;
      case kJournal:
        journal = text;
        break;
      case kHelp:
        usage_(stdout);
        return 0;
      default:
        try {
          onOwn(rc, arg.get());
        } catch (const std::exception& e) {
          const poptOption* o = own;
          while (o->longName && o->val != rc) ++o;
          fprintf(stderr, "%s: --%s: %s\n", program_, o->longName ? o->longName : "?", e.what());
          return 2;
        }
    }
  }
  if (rc < -1) {
    fprintf(stderr, "%s: %s: %s\n", program_, poptBadOption(ctx.get(), POPT_BADOPTION_NOALIAS),
            poptStrerror(rc));
    usage_(stderr);
    return 2;
  }
  for (const char* const* rest = poptGetArgs(ctx.get()); rest && *rest; ++rest)
    operands.emplace_back(*rest);
  return -1;
}

std::unique_ptr<Journal> CommandLine::openJournal() const {
  return journal.empty() ? std::make_unique<Journal>() : std::make_unique<Journal>(journal);
}

uint32_t CommandLine::number(const char* text, uint32_t max) {
  char* end = nullptr;
  const unsigned long long v = strtoull(text, &end, 0);
  if (*text == '\0' || *text == '-' || *end != '\0' || v > max)
    throw std::invalid_argument("takes a number up to " + std::to_string(max));
  return static_cast<uint32_t>(v);
}

void CommandLine::catchSignals(void (*onStop)(int), void (*onUsr1)(int)) {
  struct sigaction sa;
  memset(&sa, 0, sizeof sa);
  sa.sa_handler = onStop;
  sigaction(SIGTERM, &sa, nullptr);
  sigaction(SIGINT, &sa, nullptr);
  if (onUsr1) {
    sa.sa_handler = onUsr1;
    sigaction(SIGUSR1, &sa, nullptr);
  }
}

}  // namespace kvn::sim
