#include "lmc-tool/lmc_tool.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <iomanip>
#include <iostream>

#include "lmc-tool/lmc_description.h"
#include "lmc/kvn_cpm_common_lm_hdl_lmc.h"
#include "tracetables/profile_provider.h"
#include "tracetables/trace_lmc_reader.h"
#include "tracing/log_sink.h"

namespace kvn::lmc {

namespace {

const char kUsageText[] =
    "usage: lmc-tool COMMAND ...\n"
    "\n"
    "Builds and inspects load module containers (LMC). Reading goes through the same code as\n"
    "kvn-tracecontroller, so what is shown here is what the service sees.\n"
    "\n"
    "  pack OUT --from DESCRIPTION.json [--no-check]\n"
    "      Build a container from a JSON description, then read it back as the service would\n"
    "      (every module extracted, the profiles parsed). A container that fails the check is\n"
    "      removed; --no-check keeps it, for containers that are meant to be bad.\n"
    "  list FILE\n"
    "      Show the container's modules: identity, role, compression, sizes.\n"
    "  extract FILE IDENTITY [-o OUT] [--gzip]\n"
    "      Write a module's content (without its data header) to OUT or standard output.\n"
    "      --gzip inflates a gzip stream. Identities match without regard to blanks and case.\n"
    "  tables FILE MODULE\n"
    "      List the tables of a module's table blob.\n"
    "  table FILE MODULE TABLE\n"
    "      Print the strings of one string table, one a line.\n"
    "  profiles FILE [-v]\n"
    "      List the profiles and the flight recorder profile; -v shows their probes.\n"
    "  --help\n"
    "      This text.\n"
    "\n"
    "The description of `pack`:\n"
    "  { \"format_version\": 0|1, \"header_bytes\": 52 (v0) | 56+32*k (v1, default 88),\n"
    "    \"product_number\": TEXT, \"product_revision\": TEXT,\n"
    "    \"modules\": [ {\n"
    "      \"identity\": TEXT, \"role\": TEXT, \"snid\": N, \"data_header\": [N, N, N],\n"
    "      \"compression\": 0|1, \"gzip\": true|false,\n"
    "      and one content:\n"
    "      \"file\": PATH (relative to the description) | \"text\": TEXT |\n"
    "      \"tables\": { NAME: [STRING...] | {\"type\": N, \"strings\": [...]}, ... } |\n"
    "      \"metadata\": { \"load_module\": NAME,\n"
    "                    \"trace_objects\": [{\"name\": TEXT, \"trace_id\": N}, ...],\n"
    "                    \"formats\": [...], \"trace_strings\": [...],\n"
    "                    \"utrace\": [{\"name\": TEXT, \"id\": N, \"default\": BOOL}, ...] } |\n"
    "      \"profiles\": { NAME: [PROBE LINE...], ... }, \"flight_recorder\": NAME\n"
    "    } ] }\n"
    "  A metadata module is called NAME_META and a profile module bbDiagProfiles unless an\n"
    "  identity is given. Compression 1 deflates the data header with the content; with\n"
    "  compression 0 and gzip, the content alone is gzipped. Stored content of odd length\n"
    "  gets one NUL byte of padding, as lengths count 16-bit words.\n"
    "\n"
    "Exit status: 0 done, 1 failed (the reason is printed), 2 wrong usage.\n";

// Error lines logged by the reader classes while a command runs.
void collectErrors(void* ctx, const char*, const char*, kvn::log::Level level, const char*,
                   const char* msg) {
  if (level == kvn::log::Level::Error) static_cast<std::vector<std::string>*>(ctx)->push_back(msg);
}

struct ErrorCollector {
  explicit ErrorCollector(std::vector<std::string>& errors) {
    kvn::log::LogSink::installCapture(&collectErrors, &errors);
  }
  ~ErrorCollector() { kvn::log::LogSink::removeCapture(); }
};

bool isOption(const std::string& a) { return a.size() > 1 && a[0] == '-'; }

bool fileExists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

}  // namespace

const char* LmcTool::usage() { return kUsageText; }

int LmcTool::run(const std::vector<std::string>& args) {
  for (const std::string& a : args) {
    if (a == "--help" || a == "-h") {
      m_out << kUsageText;
      return kOk;
    }
  }
  if (args.empty()) return usageError("no command given");
  m_loggedErrors.clear();
  ErrorCollector collector(m_loggedErrors);
  const std::string& cmd = args[0];
  const std::vector<std::string> rest(args.begin() + 1, args.end());
  try {
    if (cmd == "pack") return pack(rest);
    if (cmd == "list") return list(rest);
    if (cmd == "extract") return extract(rest);
    if (cmd == "tables") return tables(rest);
    if (cmd == "table") return table(rest);
    if (cmd == "profiles") return profiles(rest);
  } catch (const std::exception& e) {
    return fail(e.what());
  }
  return usageError("unknown command '" + cmd + "'");
}

int LmcTool::fail(const std::string& message) {
  printLoggedErrors();
  m_err << "lmc-tool: " << message << "\n";
  return kFailed;
}

int LmcTool::usageError(const std::string& message) {
  m_err << "lmc-tool: " << message << "\n(lmc-tool --help shows the usage)\n";
  return kUsage;
}

void LmcTool::printLoggedErrors() {
  for (const std::string& e : m_loggedErrors) m_err << "lmc-tool: " << e << "\n";
  m_loggedErrors.clear();
}

int LmcTool::pack(const std::vector<std::string>& args) {
  std::string out;
  std::string from;
  bool checkIt = true;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "--from" && i + 1 < args.size()) {
      from = args[++i];
    } else if (args[i] == "--no-check") {
      checkIt = false;
    } else if (isOption(args[i]) || !out.empty()) {
      return usageError("pack: unexpected argument '" + args[i] + "'");
    } else {
      out = args[i];
    }
  }
  if (out.empty() || from.empty()) return usageError("pack needs OUT and --from DESCRIPTION");
  LmcDescription::load(from).writeFile(out);
  if (checkIt && !check(out)) {
    unlink(out.c_str());
    return fail(out + " does not read back as it should; it was removed");
  }
  return kOk;
}

bool LmcTool::check(const std::string& path) {
  std::vector<std::string> identities;
  {
    KvnCpmCommon_lmHdlLmc lmc(path);
    if (!lmc.isOpen()) return false;
    for (const auto& entry : lmc.getLms()) identities.push_back(entry.first);
  }
  bool ok = true;
  for (const std::string& id : identities) {
    // A fresh container for each extraction, as the service opens one each time. Table
    // modules are read without the gzip flag; others may need it.
    const bool tables = id == kvntrace::TraceLmcReader::kProfileModule ||
                        (id.size() > 5 && id.compare(id.size() - 5, 5, "_META") == 0);
    std::string data;
    bool extracted = KvnCpmCommon_lmHdlLmc(path).saveToString(id, data, false);
    if (!extracted && !tables) extracted = KvnCpmCommon_lmHdlLmc(path).saveToString(id, data, true);
    if (!extracted) {
      m_loggedErrors.push_back(
          "module '" + id + "' cannot be extracted" +
          (tables ? " without the gzip flag, as the service reads tables" : ""));
      ok = false;
    }
  }
  kvntrace::ProfileProvider provider(path);
  try {
    provider.populate();
  } catch (const std::exception& e) {
    m_loggedErrors.push_back(std::string("profiles: ") + e.what());
    ok = false;
  }
  return ok;
}

bool LmcTool::moduleExists(const std::string& file, const std::string& identity) {
  KvnCpmCommon_lmHdlLmc lmc(file);
  std::string key = identity;
  return lmc.findIdentity(key);
}

int LmcTool::list(const std::vector<std::string>& args) {
  if (args.size() != 1 || isOption(args[0])) return usageError("list needs FILE");
  KvnCpmCommon_lmHdlLmc lmc(args[0]);
  m_out << args[0] << ": " << lmc.getNumberOfLms() << " modules, header " << lmc.getHeaderLength()
        << " bytes, file " << lmc.getMappedSize() << " bytes\n";
  if (!lmc.getLms().empty()) {
    m_out << std::left << std::setw(32) << "IDENTITY" << std::setw(16) << "ROLE" << std::setw(4)
          << "CA" << std::setw(12) << "SNID" << std::setw(14) << "MODULE"
          << "DATA\n";
  }
  for (const auto& entry : lmc.getLms()) {
    const KvnCpmCommon_lmHdlLm& lm = *entry.second;
    const KvnCpmCommon_lmHeader& h = *lm.getHeader();
    m_out << std::left << std::setw(32) << entry.first << std::setw(16) << h.role << std::setw(4)
          << h.ca << std::setw(12) << h.snid << std::setw(14) << lm.getSize() << lm.getDataLength()
          << "\n";
  }
  if (!lmc.isOpen()) return fail(args[0] + " is not a valid container");
  return kOk;
}

int LmcTool::extract(const std::vector<std::string>& args) {
  std::vector<std::string> pos;
  std::string outPath;
  bool gzip = false;
  for (size_t i = 0; i < args.size(); ++i) {
    if ((args[i] == "-o" || args[i] == "--output") && i + 1 < args.size()) {
      outPath = args[++i];
    } else if (args[i] == "--gzip") {
      gzip = true;
    } else if (isOption(args[i])) {
      return usageError("extract: unknown option '" + args[i] + "'");
    } else {
      pos.push_back(args[i]);
    }
  }
  if (pos.size() != 2) return usageError("extract needs FILE and IDENTITY");
  const std::string& file = pos[0];
  const std::string& identity = pos[1];
  KvnCpmCommon_lmHdlLmc lmc(file);
  std::string key = identity;
  if (!lmc.findIdentity(key)) return fail("no load module '" + identity + "' in " + file);
  if (outPath.empty()) {
    std::string data;
    if (!lmc.saveToString(identity, data, gzip)) return fail("extracting '" + key + "' failed");
    m_out.write(data.data(), static_cast<std::streamsize>(data.size()));
    m_out.flush();
    return m_out ? kOk : fail("cannot write to standard output");
  }
  if (!lmc.saveToFile(identity, outPath, gzip)) return fail("extracting '" + key + "' failed");
  if (!fileExists(outPath)) {
    // An empty module makes no file of its own; the user asked for one.
    FILE* f = fopen(outPath.c_str(), "w");
    if (f == nullptr || fclose(f) != 0) return fail("cannot create " + outPath);
  }
  return kOk;
}

int LmcTool::tables(const std::vector<std::string>& args) {
  if (args.size() != 2) return usageError("tables needs FILE and MODULE");
  if (!moduleExists(args[0], args[1])) {
    return fail("no load module '" + args[1] + "' in " + args[0]);
  }
  kvntrace::TraceLmcReader reader(args[0]);
  const std::vector<std::string> names = reader.readTable(args[1], "");
  if (names.empty()) return fail("no tables in '" + args[1] + "'");
  for (const std::string& n : names) m_out << n << "\n";
  return kOk;
}

int LmcTool::table(const std::vector<std::string>& args) {
  if (args.size() != 3) return usageError("table needs FILE, MODULE and TABLE");
  if (!moduleExists(args[0], args[1])) {
    return fail("no load module '" + args[1] + "' in " + args[0]);
  }
  kvntrace::TraceLmcReader reader(args[0]);
  const std::vector<std::string> strings = reader.readTable(args[1], args[2]);
  if (strings.empty() && !m_loggedErrors.empty()) {
    return fail("cannot read table '" + args[2] + "' of '" + args[1] + "'");
  }
  for (const std::string& s : strings) m_out << s << "\n";
  return kOk;
}

int LmcTool::profiles(const std::vector<std::string>& args) {
  std::string file;
  bool verbose = false;
  for (const std::string& a : args) {
    if (a == "-v" || a == "--verbose") {
      verbose = true;
    } else if (isOption(a) || !file.empty()) {
      return usageError("profiles: unexpected argument '" + a + "'");
    } else {
      file = a;
    }
  }
  if (file.empty()) return usageError("profiles needs FILE");
  kvntrace::ProfileProvider provider(file);
  provider.populate();
  for (const std::string& name : provider.getProfileNames()) {
    m_out << name << "\n";
    if (verbose) m_out << provider.getProfile(name) << "\n";
  }
  const std::string fr = provider.getFlightRecorderProfile().getName();
  if (!fr.empty()) m_out << "flight recorder: " << fr << "\n";
  return kOk;
}

}  // namespace kvn::lmc
