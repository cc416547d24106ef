// The scenarios that come with the programs (scenarios/*.zvs, compiled in).
#ifndef KDZV_AGENT_BUNDLED_SCENARIOS_H_
#define KDZV_AGENT_BUNDLED_SCENARIOS_H_

#include <string>
#include <vector>

namespace kdzv::agent {

struct BundledScenario {
  std::string name;  // the file name without ".zvs", e.g. "first-booking"
  std::string text;  // the scenario file's text
};

// In the order of their names.
const std::vector<BundledScenario>& BundledScenarios();

}  // namespace kdzv::agent

#endif  // KDZV_AGENT_BUNDLED_SCENARIOS_H_
