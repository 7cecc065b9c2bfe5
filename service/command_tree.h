#pragma once
// The service's command tree: the roots zoth, zorf and zomlek with their sub-commands, in the
// order the session factory matches them. main registers them; the manual's usage texts are
// generated from the same tree, so that the two cannot disagree.

#include <memory>
#include <vector>

#include "util/cmd/cmd_parser.h"

namespace kvn {

std::vector<std::shared_ptr<CmdParser>> makeCommandTree();

}  // namespace kvn
