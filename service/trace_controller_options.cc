#include "service/trace_controller_options.h"

#include <popt.h>

#include <cstdlib>

#include "tracing/log.h"

namespace {

enum : int { kInstanceName = 1000, kMailboxName, kLmcPath, kNameSpace };

const struct poptOption kOptions[] = {
    {"instancename", '\0', POPT_ARG_STRING, nullptr, kInstanceName, nullptr, nullptr},
    {"mailboxname", '\0', POPT_ARG_STRING, nullptr, kMailboxName, nullptr, nullptr},
    {"lmcpath", '\0', POPT_ARG_STRING, nullptr, kLmcPath, nullptr, nullptr},
    {"namespace", '\0', POPT_ARG_STRING, nullptr, kNameSpace, nullptr, nullptr},
    POPT_TABLEEND};

}  // namespace

int TraceControllerOptions::read(int argc, const char** argv) {
  poptContext ctx = poptGetContext(nullptr, argc, argv, kOptions, 0);
  int rc;
  while ((rc = poptGetNextOpt(ctx)) >= 0) {
    std::string* target = nullptr;
    switch (rc) {
      case kInstanceName:
        target = &instanceName;
        break;
      case kMailboxName:
        target = &mailboxName;
        break;
      case kLmcPath:
        target = &lmcPath;
        break;
      case kNameSpace:
        target = &nameSpace;
        break;
      default:
        TC_LOG_ERROR("Error: TraceController: unknown option");
        poptFreeContext(ctx);
        return -1;
    }
    char* arg = poptGetOptArg(ctx);  // ours to free
    *target = arg != nullptr ? arg : "";
    std::free(arg);
  }
  if (rc < -1) {
    TC_LOG_ERROR(
        "%s: %s: To start TraceController in XIH mode, use --instancename, --mailboxname and "
        "--lmcpath with proper values. Aborting start.",
        poptBadOption(ctx, POPT_BADOPTION_NOALIAS), poptStrerror(rc));
    poptFreeContext(ctx);
    return -1;
  }
  poptFreeContext(ctx);
  return 0;
}
