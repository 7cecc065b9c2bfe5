#include "tests/soak/command_mix.h"

#include <functional>

namespace kvn::soak {

const std::string& CommandMix::pick(const std::vector<std::string>& words) {
  return words[random_() % words.size()];
}

std::string CommandMix::agent() {
  static const std::vector<std::string> odd = {"*", "DAXO3", "MOKA/2", "7", "0", "x", "256"};
  if (random_() % 4 != 0) return std::to_string(1 + random_() % 5);
  return pick(odd);
}

std::vector<std::string> CommandMix::next() {
  using Line = std::vector<std::string>;
  const std::string a = agent();
  const std::vector<std::function<Line()>> lines = {
      [&] {
        return Line{"zoth", "info"};
      },
      [&] {
        return Line{"zoth", "info", "-v"};
      },
      [&] {
        return Line{"zoth", "info", a};
      },
      [&] {
        return Line{"zorf",
                    "log",
                    pick({"enable", "disable"}),
                    a,
                    pick({"obj", "ulScheduler", "harqHandler", "*"}),
                    pick({"trace1", "trace2", "info", "error"})};
      },
      [&] {
        return Line{"zorf", "log", pick({"enable", "disable"}), a,
                    pick({"Scheduling", "DefaultProfile", "ulScheduler.grant", "a.b"})};
      },
      [&] {
        return Line{"zorf", "log", "status"};
      },
      [&] {
        return Line{"zorf", "log", "status", a, pick({"-p", "-u", "-v"})};
      },
      [&] {
        return Line{"zorf", "log", "reset"};
      },
      [&] {
        return Line{"zorf", "log", "save", a};
      },
      [&] {
        return Line{"zoth", "profile", "list", pick({"-v", a})};
      },
      [&] {
        return Line{"zoth", "tracehitcounter", pick({"read", "clear"}), a};
      },
      [&] {
        return Line{"zoth", "hwconfig", "set", "-s", a, "dqsmask", pick({"0x0", "0x3", "q"})};
      },
      [&] { return Line{"zoth", "hwconfig", "get", "-s", a, "dqsmask"}; },
      [&] {
        return Line{"zoth", "echo", "-d", a, "soak marker"};
      },
      [&] {
        return Line{"zoth", "route", a + ":" + pick({"rtt", "embuf", "token", "lpp"}),
                    pick({"embuf", "net1", "ebcom", "tn", "nowhere"})};
      },
      [&] { return Line{"zoth", "dest", "add", "net1", "127.0.0.1", "9", "ManagedElement=1"}; },
      [&] {
        return Line{"zoth", "dest", pick({"list", "del"}), "net1"};
      },
      [&] {
        return Line{"zomlek", "dspload", pick({"start", "stop", "print", "snapshot"}), "-s", a,
                    "-d",     "1"};
      },
      [&] {
        return Line{"zomlek", "cmpoolusage", "-s", a};
      },
      [&] {
        return Line{"zomlek", "cmpoolusage", "--json", "-s", a};
      },
      [&] {
        return Line{"zoth", "recorder", pick({"start", "stop", "status"}), a};
      },
      [&] {
        return Line{"zoth", "recorder", "dump", a + ":rtt", "--base64"};
      },
      // What the parsers must turn down.
      [&] {
        return Line{pick({"zoth", "zorf", "zomlek"})};
      },
      [&] {
        return Line{"zoth", pick({"frob", "info --bogus", "route", "dest", "recorder"})};
      },
      [&] {
        return Line{"zorf", "log", pick({"", "frob", "enable", "status 1 -q"})};
      },
      [&] {
        return Line{"zomlek", "dspload", pick({"start", "start -s", "-d 1"})};
      },
  };
  return lines[random_() % lines.size()]();
}

}  // namespace kvn::soak
