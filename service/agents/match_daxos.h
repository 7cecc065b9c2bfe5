#pragma once
// From an operator's <daxo id>, a shell wildcard pattern, to the numbers of the connected agents
// it names. A pattern matches a name as it stands or as the name's prefix before a "/", so
// "MOKA" names every instance MOKA/1, MOKA/2, ...

#include <stdint.h>

#include <string>
#include <vector>

#include "service/agents/daxo_match_error.h"
#include "service/agents/daxo_matcher.h"

namespace kvn {

// The list every command uses, but for echo.
const std::vector<int>& standardDaxoMatchers();

// The connected agents that `expression` names under any of `matchers`, ascending, each once.
// Raises DaxoMatchError "No connected DAXO matched" when there is none.
std::vector<uint16_t> matchDaxos(const std::string& expression, const std::vector<int>& matchers);

// The one connected agent that `expression` names under the standard list. Raises
// DaxoMatchError "More than one DAXO matched" when it names several.
uint16_t matchOneDaxo(const std::string& expression);

}  // namespace kvn
