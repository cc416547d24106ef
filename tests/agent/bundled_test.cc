#include <gtest/gtest.h>

#include "agent/agent.h"
#include "agent/bundled_scenarios.h"

namespace kdzv::agent {
namespace {

TEST(BundledScenariosTest, TheFourScenarios) {
  std::vector<std::string> names;
  for (const BundledScenario& bundled : BundledScenarios()) names.push_back(bundled.name);
  EXPECT_EQ(names, (std::vector<std::string>{"first-booking", "foreign-files", "refusing-host",
                                             "slow-sync"}));
}

TEST(BundledScenariosTest, EachParsesAndIntroducesItself) {
  for (const BundledScenario& bundled : BundledScenarios()) {
    EXPECT_EQ(bundled.text.substr(0, bundled.text.find('\n')), "scenario " + bundled.name);
    std::string error;
    const std::optional<Scenario> scenario = LoadBundledScenario(bundled.name, error);
    ASSERT_TRUE(scenario.has_value()) << bundled.name << ": " << error;
    EXPECT_EQ(scenario->name, bundled.name);
    EXPECT_GE(scenario->about.size(), 2u) << bundled.name;
    ASSERT_FALSE(scenario->steps.empty());
    EXPECT_EQ(scenario->steps.front().kind, StepKind::kReceive);
    // Every scenario ends by making sure the component has stopped writing.
    EXPECT_EQ(scenario->steps.back().kind, StepKind::kExpectNoMessage) << bundled.name;
  }
}

TEST(BundledScenariosTest, AnUnknownName) {
  std::string error;
  EXPECT_FALSE(LoadBundledScenario("second-booking", error).has_value());
  EXPECT_EQ(error, "no bundled scenario \"second-booking\" (see zvagent --list)");
}

}  // namespace
}  // namespace kdzv::agent
