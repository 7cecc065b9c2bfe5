#include "service/tracecontrol/trace_state_serializer.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <sstream>

#include "service/tracecontrol/manual_trace_object_line_parser.h"
#include "service/tracecontrol/manual_trace_overrides.h"
#include "service/tracecontrol/manual_utrace_point_line_parser.h"
#include "service/tracecontrol/profile_line_parser.h"
#include "service/tracecontrol/trace_object_line_parser.h"
#include "service/tracecontrol/trace_toggler.h"
#include "service/tracecontrol/utrace_point_line_parser.h"
#include "tracetables/trace_group_table.h"
#include "tracing/log.h"

namespace kvn {

namespace {

const char* const kProfiles = "Profiles:";
const char* const kManualObjects = "ManuallyChangedTraceObjects:";
const char* const kUtracePoints = "utracePoints:";
const char* const kManualPoints = "ManuallyChangedUtracePoints:";

bool writeAll(int fd, const char* data, size_t size) {
  while (size > 0) {
    const ssize_t n = ::write(fd, data, size);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    data += n;
    size -= static_cast<size_t>(n);
  }
  return true;
}

// The rename itself reaches the disk only with its directory.
void syncDirectory(const std::string& path) {
  const size_t slash = path.rfind('/');
  const std::string dir = slash == std::string::npos ? "."
                          : slash == 0               ? "/"
                                                     : path.substr(0, slash);
  const int fd = ::open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  ::fsync(fd);
  ::close(fd);
}

}  // namespace

bool TraceStateSerializer::save(const DaxoRecord& record, std::ostream& out) {
  static const ManualTraceOverrides kNone;
  const ManualTraceOverrides& manual =
      record.traceToggler ? record.traceToggler->overrides() : kNone;

  for (const TraceObjectEntry& e : record.traceObjects) {
    out << e.name << ' ';
    for (size_t i = 0; i < TraceGroupTable::count(); ++i)
      if (e.mask & TraceGroupTable::bit(i)) out << TraceGroupTable::name(i) << ' ';
    out << '\n';
  }
  if (!out)
    TC_LOG_ERROR("Could not save %d trace object states",
                 static_cast<int>(record.traceObjects.size()));

  out << '\n' << kProfiles << '\n';
  for (const std::string& name : record.enabledProfiles) out << name << '\n';

  out << '\n' << kManualObjects << '\n';
  for (const TraceObjectEntry& e : record.traceObjects) {
    const uint32_t changed = manual.forcedOn(e.strId) | manual.forcedOff(e.strId);
    if (changed != 0) out << e.name << ' ' << e.strId << ' ' << changed << '\n';
  }

  out << '\n' << kUtracePoints << '\n';
  for (const UtracePoint& p : record.uTracePoints)
    out << p.name << ' ' << (p.enabled ? 1 : 0) << '\n';

  out << '\n' << kManualPoints << '\n';
  for (size_t i = 0; i < record.uTracePoints.size(); ++i) {
    const ManualTraceOverrides::UtraceOverride o = manual.utrace(i);
    if (o.changed) out << record.uTracePoints[i].name << ' ' << (o.value ? 1 : 0) << '\n';
  }
  out.flush();
  return out.good();
}

void TraceStateSerializer::load(DaxoRecord& record, std::istream& in) {
  std::unique_ptr<TraceStateLineParser> current = std::make_unique<TraceObjectLineParser>();
  for (std::string line; std::getline(in, line);) {
    if (line.empty()) continue;
    if (line == kProfiles) {
      current = std::make_unique<ProfileLineParser>();
    } else if (line == kManualObjects) {
      current = std::make_unique<ManualTraceObjectLineParser>();
    } else if (line == kUtracePoints) {
      current = std::make_unique<UtracePointLineParser>();
    } else if (line == kManualPoints) {
      current = std::make_unique<ManualUtracePointLineParser>();
    } else {
      std::istringstream words(line);
      current->parseLine(record, words);
    }
  }
}

bool TraceStateSerializer::writeFile(const std::string& path, const std::string& text) {
  // One fixed name per state file: what a kill in the middle of a save leaves behind is
  // overwritten by the next save of that agent, rather than piling up over the months.
  const std::string temp = path + ".tmp";
  const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (fd < 0) return false;
  // As an ordinary new file would be: what the umask allows of rw-rw-rw-.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  bool ok =
      ::fchmod(fd, 0666 & ~mask) == 0 && writeAll(fd, text.data(), text.size()) && ::fsync(fd) == 0;
  ok = ::close(fd) == 0 && ok;
  ok = ok && ::rename(temp.c_str(), path.c_str()) == 0;
  if (!ok) {
    const int error = errno;
    ::unlink(temp.c_str());
    errno = error;
    return false;
  }
  syncDirectory(path);
  return true;
}

}  // namespace kvn
