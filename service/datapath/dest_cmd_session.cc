#include "service/datapath/dest_cmd_session.h"

#include <iomanip>
#include <sstream>
#include <utility>

#include "service/datapath/trace_destination.h"
#include "service/datapath/trace_destination_store.h"
#include "service/trace_controller_context.h"

namespace kvn {

DestCmdSession::DestCmdSession(Operation operation, std::string name,
                               std::shared_ptr<TraceDestination> destination)
    : operation(operation), name(std::move(name)), destination(std::move(destination)) {}

void DestCmdSession::start() {
  TraceDestinationStore& store = *TraceControllerContext::get().destinations;
  std::string text;
  uint8_t result = 0;
  switch (operation) {
    case kAdd:
      if (!store.add(name, destination)) {
        text = "The trace destination already exists\n";
        result = 1;
      }
      break;
    case kDelete:
      if (!store.remove(name, text)) result = 1;
      break;
    case kList: {
      std::ostringstream rows;
      store.forEach([&rows](const std::string& n, const TraceDestination& d) {
        rows << std::left << std::setw(35) << n << d.listRow();
      });
      if (rows.str().empty()) {
        text = "No destinations are defined\n";
      } else {
        std::ostringstream out;
        out << "Trace destinations\n\n"
            << std::left << std::setw(35) << "Name" << std::setw(41) << "IP Address" << std::setw(6)
            << "Port" << std::setw(24) << "Max stream rate [kb/s]"
            << "LDN\n"
            << rows.str();
        text = out.str();
      }
      break;
    }
  }
  if (!text.empty()) print(text);
  end(result);
}

}  // namespace kvn
