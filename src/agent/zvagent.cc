#include "agent/zvagent.h"

#include <algorithm>
#include <optional>

#include "agent/agent.h"
#include "agent/agent_files.h"
#include "agent/bundled_scenarios.h"

namespace kdzv::agent {

namespace {

constexpr const char* kUsage =
    "zvagent - plays the booking service's agent from a scenario\n"
    "usage:\n"
    "  zvagent --upload DIR --download DIR [--keep DIR] SCENARIO_FILE\n"
    "  zvagent --upload DIR --download DIR [--keep DIR] --bundled NAME\n"
    "  zvagent --list      the bundled scenarios\n"
    "  zvagent --help      this text\n"
    "  --upload DIR        where the component writes its messages\n"
    "  --download DIR      where the agent writes its answers\n"
    "  --keep DIR          keep a copy of every received message here\n"
    "Exit status: 0 every expectation held, 1 one did not (or a wait timed out),\n"
    "2 bad usage or a scenario with a syntax error.\n";

int Usage(std::ostream& err, const std::string& message) {
  err << "zvagent: " << message << " (see zvagent --help)\n";
  return kExitUsage;
}

void List(std::ostream& out) {
  size_t width = 0;
  for (const BundledScenario& bundled : BundledScenarios()) {
    width = std::max(width, bundled.name.size());
  }
  for (const BundledScenario& bundled : BundledScenarios()) {
    std::string error;
    const std::optional<Scenario> scenario = ParseScenario(bundled.text, error);
    const std::string about =
        !scenario ? "(does not parse: " + error + ")"
                  : (scenario->about.empty() ? std::string() : scenario->about.front());
    out << bundled.name << std::string(width - bundled.name.size() + 2, ' ') << about << "\n";
  }
}

}  // namespace

int ZvagentMain(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.size() == 1 && (args[0] == "--help" || args[0] == "-h")) {
    out << kUsage;
    return 0;
  }
  if (args.size() == 1 && args[0] == "--list") {
    List(out);
    return 0;
  }
  AgentOptions options;
  std::optional<std::string> file, bundled;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg == "--upload" || arg == "--download" || arg == "--keep" || arg == "--bundled") {
      if (i + 1 >= args.size()) return Usage(err, arg + " needs a value");
      const std::string& value = args[++i];
      if (arg == "--upload") options.upload = value;
      if (arg == "--download") options.download = value;
      if (arg == "--keep") options.keep = value;
      if (arg == "--bundled") bundled = value;
    } else if (arg.size() > 1 && arg[0] == '-') {
      return Usage(err, "unknown option \"" + arg + "\"");
    } else if (file) {
      return Usage(err, "more than one scenario file");
    } else {
      file = arg;
    }
  }
  if (options.upload.empty() || options.download.empty()) {
    return Usage(err, "--upload and --download are needed");
  }
  if (file.has_value() == bundled.has_value()) {
    return Usage(err, "give one scenario: a file or --bundled NAME");
  }
  std::string error;
  std::optional<Scenario> scenario;
  if (bundled) {
    scenario = LoadBundledScenario(*bundled, error);
  } else {
    const std::optional<std::string> text = ReadWholeFile(*file);
    if (!text) return Usage(err, "cannot read the scenario file " + *file);
    scenario = ParseScenario(*text, error);
  }
  if (!scenario) {
    err << "zvagent: " << error << "\n";
    return kExitUsage;
  }
  return RunScenario(*scenario, options, out);
}

}  // namespace kdzv::agent
