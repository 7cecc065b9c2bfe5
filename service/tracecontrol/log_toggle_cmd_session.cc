#include "service/tracecontrol/log_toggle_cmd_session.h"

#include <ctype.h>

#include <algorithm>
#include <utility>

#include "service/agents/daxo_trace_model.h"
#include "service/tracecontrol/trace_toggler.h"
#include "tracing/log.h"

namespace kvn {

LogToggleCmdSession::LogToggleCmdSession(std::vector<uint16_t> agents,
                                         std::vector<std::string> names, bool enable, bool verbose)
    : agents(std::move(agents)), names(std::move(names)), enable(enable), verbose(verbose) {
  for (uint16_t n : this->agents) {
    const kvntrace::EventId lost = DaxoTraceModel::getDaxoLostEvent(n);
    lostEvents[lost] = n;
    subscribeEvent(lost);
  }
}

void LogToggleCmdSession::start() {
  if (agents.empty()) return answer();
  if (enable)
    secondRound();
  else
    firstRound();
}

void LogToggleCmdSession::firstRound() {
  awaited.insert(agents.begin(), agents.end());
  for (uint16_t n : agents) {
    const std::shared_ptr<TraceToggler> toggler = DaxoTraceModel::get(n).traceToggler;
    if (!toggler) {
      onDisableChecked(n, false, "");
      continue;
    }
    toggler->checkDisableable(names, [this, n](bool error, const std::string& text) {
      onDisableChecked(n, error, text);
    });
  }
}

void LogToggleCmdSession::onDisableChecked(uint16_t agent, bool error, const std::string& text) {
  if (!text.empty()) {
    TC_LOG_INFO("%s", text.c_str());
    out << text << "\n";
  }
  firstRoundError = firstRoundError || error;
  if (awaited.erase(agent) == 0 || !awaited.empty()) return;
  if (firstRoundError)
    finish("error\n" + out.str(), 1);
  else
    secondRound();
}

void LogToggleCmdSession::secondRound() {
  inSecondRound = true;
  awaited.insert(agents.begin(), agents.end());
  for (uint16_t n : agents) {
    if (ended) return;
    const std::shared_ptr<TraceToggler> toggler = DaxoTraceModel::get(n).traceToggler;
    if (!toggler) {
      closing(n);
      continue;
    }
    std::function<void()> done = [this, n] { closing(n); };
    std::function<void(const std::string&, const std::string&)> notApplicable =
        [this, n](const std::string& heading, const std::string& text) {
          onNotApplicable(n, heading, text);
        };
    std::function<void(const std::string&)> verboseCb = [this](const std::string& text) {
      verboseText += text;
    };
    toggler->toggle(names, enable, getKillableCallback(std::move(done)),
                    getKillableCallback(std::move(notApplicable)),
                    getKillableCallback(std::move(verboseCb)), verbose);
  }
}

void LogToggleCmdSession::onNotApplicable(uint16_t agent, const std::string& heading,
                                          const std::string& text) {
  notApplicableText += heading + text + "\n";
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const auto first =
        std::find_if(line.begin(), line.end(), [](unsigned char c) { return !isspace(c); });
    notApplicableNames.emplace_back(first, line.end());
  }
  ++notApplicableCount;
  closing(agent);
}

void LogToggleCmdSession::handleEvent(kvntrace::EventId event) {
  auto it = lostEvents.find(event);
  if (it == lostEvents.end() || ended) return;
  const uint16_t n = it->second;
  // An agent that has already answered lost nothing of this command.
  if (awaited.count(n) == 0) return;
  out << "Fail: Mask not set on daxo " << n << "\n";
  failure = true;
  if (inSecondRound)
    closing(n);
  else
    onDisableChecked(n, true, "");
}

void LogToggleCmdSession::closing(uint16_t agent) {
  if (ended || awaited.erase(agent) == 0 || !awaited.empty()) return;
  answer();
}

void LogToggleCmdSession::answer() {
  const size_t agentCount = agents.size();
  if (failure) return finish("error\n" + out.str(), 1);
  if (notApplicableCount < agentCount) {
    if (notApplicableCount > 0) return finish("ok, although\n" + out.str() + notApplicableText, 0);
    if (verboseText.empty()) return finish("ok\n", 0);
    return finish("ok, although\n" + verboseText, 0);
  }
  for (const std::string& name : notApplicableNames) {
    if (static_cast<size_t>(
            std::count(notApplicableNames.begin(), notApplicableNames.end(), name)) == agentCount)
      return finish("error\nThe following traces/profiles are invalid:\n" + name + "\n", 1);
  }
  finish("error\n" + out.str() + notApplicableText, 1);
}

void LogToggleCmdSession::finish(const std::string& text, uint8_t result) {
  ended = true;
  print(text);
  end(result);
}

}  // namespace kvn
