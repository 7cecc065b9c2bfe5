#include "kvnsh/command_grammar.h"

#include <utility>

namespace kvnsh {
namespace {

using Kind = CommandGrammar::Kind;
using Node = CommandGrammar::Node;
using Words = std::vector<std::string>;

Node node(std::string path, Words children, Words options, Words agentValued = {},
          Words valued = {}, std::vector<Kind> positional = {}, Words words = {}) {
  return Node{std::move(path),   std::move(children),   std::move(options), std::move(agentValued),
              std::move(valued), std::move(positional), std::move(words)};
}

}  // namespace

const std::vector<CommandGrammar::Node>& CommandGrammar::nodes() {
  static const std::vector<std::string> kHelp = {"-h", "--help"};
  // A verb takes the options of its command: the command parses them wherever they stand.
  static const std::vector<Node> kNodes = [] {
    std::vector<Node> n = {
        node(
            "zoth",
            {"info", "tracehitcounter", "hwconfig", "route", "recorder", "dest", "profile", "echo"},
            kHelp),
        node("zorf", {"log"}, {}),
        node("zomlek", {"dspload", "cmpoolusage"}, kHelp),
        node("zoth info", {}, {"-h", "--help", "-v", "--verbose"}),
        node("zoth tracehitcounter", {"read", "clear"}, kHelp),
        node("zoth hwconfig", {"set", "get"}, {"-h", "--help", "-s", "--daxo"}, {"-s", "--daxo"}),
        node("zoth route", {}, kHelp, {}, {}, {Kind::kAgentSource, Kind::kRouteDestination},
             {"token", "rtt", "lpp", "embuf"}),
        node("zoth recorder", {"start", "stop", "status", "dump"},
             {"-h", "--help", "--base64", "-t", "--time", "-d", "--duration"}, {},
             {"-t", "--time", "-d", "--duration"}),
        node("zoth dest", {"add", "del", "list"}, {"-h", "--help", "-m"}, {}, {"-m"}),
        node("zoth profile", {"list"}, {"-h", "--help", "-v", "--verbose"}),
        node("zoth echo", {}, {"-h", "--help", "-d", "--domainDaxoIndex", "-r", "--roleIndex"}, {},
             {"-d", "--domainDaxoIndex", "-r", "--roleIndex"}),
        node("zorf log", {"enable", "disable", "status", "save", "reset"},
             {"-h", "--help", "-p", "--profile", "-v", "--verbose"}),
        node("zomlek dspload", {"start", "stop", "print", "snapshot"},
             {"-h", "--help", "-s", "--snid", "-d", "--duration"}, {"-s", "--snid"},
             {"-d", "--duration"}),
        node("zomlek cmpoolusage", {}, {"-h", "--help", "-s", "--snid", "-j", "--json"},
             {"-s", "--snid"}),
    };
    auto verbs = [&n](const std::string& parent, const std::vector<std::string>& names,
                      std::vector<Kind> positional, std::vector<std::string> words = {}) {
      Node base;
      for (const Node& known : n)
        if (known.path == parent) base = known;
      for (const std::string& name : names) {
        Node verb = base;
        verb.path = parent + " " + name;
        verb.children.clear();
        verb.positional = positional;
        verb.words = words;
        n.push_back(verb);
      }
    };
    verbs("zoth tracehitcounter", {"read", "clear"}, {Kind::kAgent});
    verbs("zoth hwconfig", {"set", "get"}, {Kind::kWords},
          {"dqsmask", "tqpmask", "espmask", "acpmask", "rpsmask"});
    verbs("zoth recorder", {"start", "stop", "status"}, {Kind::kAgent});
    verbs("zoth recorder", {"dump"}, {Kind::kAgentSource}, {"token", "rtt", "lpp"});
    verbs("zoth dest", {"del", "delete"}, {Kind::kDestination});
    verbs("zoth dest", {"add", "list"}, {});
    verbs("zoth profile", {"list"}, {Kind::kProfile});
    verbs("zorf log", {"enable", "e", "disable", "d"}, {Kind::kAgent, Kind::kProfile});
    verbs("zorf log", {"status", "save", "s", "reset", "r"}, {Kind::kAgent});
    verbs("zomlek dspload", {"start", "stop", "print", "snapshot"}, {});
    return n;
  }();
  return kNodes;
}

const CommandGrammar::Node* CommandGrammar::find(const std::string& path) {
  for (const Node& node : nodes())
    if (node.path == path) return &node;
  return nullptr;
}

const std::vector<std::string>& CommandGrammar::roots() {
  static const std::vector<std::string> kRoots = {"zoth", "zorf", "zomlek"};
  return kRoots;
}

}  // namespace kvnsh
