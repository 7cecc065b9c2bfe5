#include "daxo-sim/journal_only_handler.h"

#include <nlohmann/json.hpp>

namespace kvn::daxosim {

void JournalOnlyHandler::handle(const Request&, const ReplyPath&, nlohmann::json& entry) {
  entry["answered"] = false;
}

}  // namespace kvn::daxosim
