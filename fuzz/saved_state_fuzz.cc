// Reads the input as an agent's saved trace state file. What a load gives must survive a save
// and a load again unchanged: the second save equals the first.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>

#include "service/agents/daxo_record.h"
#include "service/tracecontrol/trace_state_serializer.h"
#include "service/tracecontrol/trace_toggler.h"

namespace {

// An agent with the sample container's trace objects and utrace points.
kvn::DaxoRecord sampleRecord() {
  kvn::DaxoRecord r;
  r.bbmHwNumber = 1;
  r.traceToggler = std::make_shared<kvn::TraceToggler>(1);
  const char* objects[] = {"ulScheduler", "dlScheduler", "harqHandler", "cmPool", "x"};
  uint16_t strId = 0;
  for (const char* name : objects)
    r.traceObjects.push_back({strId, static_cast<uint16_t>(100 + strId), name, 0}), ++strId;
  const char* points[] = {"ulScheduler.grant", "dlScheduler.alloc", "harqHandler.retx"};
  uint16_t id = 1;
  for (const char* name : points) {
    r.uTraceIndex[id] = r.uTracePoints.size();
    r.uTracePoints.push_back({name, id++, false, false});
  }
  r.enabledProfiles.insert("DefaultProfile");
  return r;
}

// Loads `text` into a fresh record and saves it again; false when the load took one of the
// headings for a profile name (a heading line with a blank behind it is no heading, and a
// profile line gives its first word): such a name reads back as the heading it is.
bool loadAndSave(const std::string& text, std::string& saved) {
  kvn::DaxoRecord r = sampleRecord();
  std::istringstream in(text);
  kvn::TraceStateSerializer::load(r, in);
  std::ostringstream out;
  if (!kvn::TraceStateSerializer::save(r, out)) __builtin_trap();
  saved = out.str();
  for (const char* heading : {"Profiles:", "ManuallyChangedTraceObjects:", "utracePoints:",
                              "ManuallyChangedUtracePoints:"})
    if (r.enabledProfiles.count(heading)) return false;
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string first, second, third;
  const bool faithful = loadAndSave(std::string(reinterpret_cast<const char*>(data), size), first);
  loadAndSave(first, second);
  if (faithful && second != first) __builtin_trap();
  loadAndSave(second, third);
  if (third != second) __builtin_trap();
  return 0;
}
