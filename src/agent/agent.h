// The simulated agent of the booking service: runs a scenario against the
// upload and download folders of a running exchange. Used by the zvagent
// program and, on a second thread beside the component, by the demo.
//
// A run keeps all its state to itself (no shared mutable globals), so any
// number of runs may go on at once, each with its own folders.
#ifndef KDZV_AGENT_AGENT_H_
#define KDZV_AGENT_AGENT_H_

#include <atomic>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "agent/scenario.h"

namespace kdzv::agent {

struct AgentOptions {
  std::string upload;    // where the component writes its messages
  std::string download;  // where the agent writes its answers
  std::string keep;      // when not empty: every received file is copied here
  // When set (to true) the run ends at its next wait, as failed.
  const std::atomic<bool>* stop = nullptr;
};

struct AgentReport {
  int received = 0;  // messages taken from the upload folder
  int sent = 0;      // files written into the download folder
  int checks = 0;    // expectations and automatic checks evaluated
  int failures = 0;  // of those, the ones that did not hold (time-outs included)
  bool passed = false;
  // Of all received messages, the commands by kind -> how many came:
  // "Status Add 201", "Status SyncHdr 200", "Map VEvent", "Map Calendar",
  // "Map Attribute_Value", "Replace VEvent", "Replace OpeningTime",
  // "Alert 206", ...
  std::map<std::string, int> commands;
};

// RunScenario's results (also zvagent's exit status; 2 is bad usage).
inline constexpr int kRunPassed = 0;
inline constexpr int kRunFailed = 1;

// Runs `scenario`, writing one transcript line per event ("agent: ...") to
// `transcript`. Returns kRunPassed when every expectation held, kRunFailed
// otherwise. Never throws.
int RunScenario(const Scenario& scenario, const AgentOptions& options, std::ostream& transcript,
                AgentReport* report = nullptr);

// The bundled scenario `name` (e.g. "first-booking"), parsed. Nothing, with
// `error` set, when there is none of that name or it does not parse.
std::optional<Scenario> LoadBundledScenario(std::string_view name, std::string& error);

}  // namespace kdzv::agent

#endif  // KDZV_AGENT_AGENT_H_
