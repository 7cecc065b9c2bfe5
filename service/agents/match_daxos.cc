#include "service/agents/match_daxos.h"

#include <fnmatch.h>

#include "service/agents/daxo_trace_model.h"

namespace kvn {

namespace {

bool matches(const std::string& expression, const std::string& name) {
  return fnmatch(expression.c_str(), name.c_str(), 0) == 0 ||
         fnmatch((expression + "/*").c_str(), name.c_str(), 0) == 0;
}

}  // namespace

const std::vector<int>& standardDaxoMatchers() {
  static const std::vector<int> matchers = {MATCH_NUMBER, MATCH_ADDRESS, MATCH_EQUIPMENT,
                                            MATCH_DAXO, MATCH_INSTANCE};
  return matchers;
}

std::vector<uint16_t> matchDaxos(const std::string& expression, const std::vector<int>& matchers) {
  std::vector<uint16_t> found;
  for (uint16_t n = 1; n <= DaxoTraceModel::MAX_DAXO_NUMBER; ++n) {
    for (int matcher : matchers) {
      if (matches(expression, daxoMatcherName(matcher, n))) {
        // Only connected agents count, but every agent is tried.
        if (DaxoTraceModel::get(n).connected) found.push_back(n);
        break;
      }
    }
  }
  if (found.empty()) throw DaxoMatchError("No connected DAXO matched");
  return found;
}

uint16_t matchOneDaxo(const std::string& expression) {
  const std::vector<uint16_t> found = matchDaxos(expression, standardDaxoMatchers());
  if (found.size() > 1) throw DaxoMatchError("More than one DAXO matched");
  return found.front();
}

}  // namespace kvn
