#include "tests/soak/command_mix.h"

namespace kvn::soak {

namespace {

// The lines word by word: "a|b" stands for one of its alternatives (an empty one too), "@" for
// the agent.
const std::vector<std::vector<std::string>> kLines = {
    {"zoth", "info"},
    {"zoth", "info", "-v"},
    {"zoth", "info", "@"},
    {"zorf", "log", "enable|disable", "@", "obj|ulScheduler|harqHandler|*",
     "trace1|trace2|info|error"},
    {"zorf", "log", "enable|disable", "@", "Scheduling|DefaultProfile|ulScheduler.grant|a.b"},
    {"zorf", "log", "status"},
    {"zorf", "log", "status", "@", "-p|-u|-v"},
    {"zorf", "log", "reset"},
    {"zorf", "log", "save", "@"},
    {"zoth", "profile", "list", "-v|@"},
    {"zoth", "tracehitcounter", "read|clear", "@"},
    {"zoth", "hwconfig", "set", "-s", "@", "dqsmask", "0x0|0x3|q"},
    {"zoth", "hwconfig", "get", "-s", "@", "dqsmask"},
    {"zoth", "echo", "-d", "@", "soak marker"},
    {"zoth", "route", "@:rtt|@:embuf|@:token|@:lpp", "embuf|net1|ebcom|tn|nowhere"},
    {"zoth", "dest", "add", "net1", "127.0.0.1", "9", "ManagedElement=1"},
    {"zoth", "dest", "list|del", "net1"},
    {"zomlek", "dspload", "start|stop|print|snapshot", "-s", "@", "-d", "1"},
    {"zomlek", "cmpoolusage", "-s", "@"},
    {"zomlek", "cmpoolusage", "--json", "-s", "@"},
    {"zoth", "recorder", "start|stop|status", "@"},
    {"zoth", "recorder", "dump", "@:rtt", "--base64"},
    // What the parsers must turn down.
    {"zoth|zorf|zomlek"},
    {"zoth", "frob|info --bogus|route|dest|recorder"},
    {"zorf", "log", "|frob|enable|status 1 -q"},
    {"zomlek", "dspload", "start|start -s|-d 1"},
};

}  // namespace

const std::string& CommandMix::pick(const std::vector<std::string>& words) {
  return words[random_() % words.size()];
}

std::string CommandMix::agent() {
  static const std::vector<std::string> odd = {"*", "DAXO3", "MOKA/2", "7", "0", "x", "256"};
  if (random_() % 4 != 0) return std::to_string(1 + random_() % 5);
  return pick(odd);
}

std::vector<std::string> CommandMix::next() {
  const std::string a = agent();
  std::vector<std::string> line;
  for (const std::string& pattern : kLines[random_() % kLines.size()]) {
    std::vector<std::string> alternatives(1);
    for (const char c : pattern) {
      if (c == '|') {
        alternatives.emplace_back();
      } else {
        alternatives.back() += c == '@' ? a : std::string(1, c);
      }
    }
    line.push_back(alternatives.size() == 1 ? alternatives[0] : pick(alternatives));
  }
  return line;
}

}  // namespace kvn::soak
