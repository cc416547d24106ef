#include "agent/agent.h"
#include "agent/bundled_scenarios.h"

namespace kdzv::agent {

std::optional<Scenario> LoadBundledScenario(std::string_view name, std::string& error) {
  for (const BundledScenario& bundled : BundledScenarios()) {
    if (bundled.name != name) continue;
    return ParseScenario(bundled.text, error);
  }
  error = "no bundled scenario \"" + std::string(name) + "\" (see zvagent --list)";
  return std::nullopt;
}

}  // namespace kdzv::agent
