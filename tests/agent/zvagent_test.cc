#include "agent/zvagent.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "agent/agent_test_support.h"
#include "agent/bundled_scenarios.h"
#include "agent/scenario.h"
#include "support/fakes.h"

namespace kdzv::agent {
namespace {

struct Outcome {
  int status;
  std::string out;
  std::string err;
};

Outcome Zvagent(const std::vector<std::string>& args) {
  std::ostringstream out, err;
  const int status = ZvagentMain(args, out, err);
  return Outcome{status, out.str(), err.str()};
}

TEST(ZvagentTest, Help) {
  const Outcome help = Zvagent({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.out.find("zvagent --upload DIR --download DIR [--keep DIR] SCENARIO_FILE"),
            std::string::npos);
}

TEST(ZvagentTest, ListNamesEveryBundledScenarioWithItsFirstAboutLine) {
  const Outcome list = Zvagent({"--list"});
  EXPECT_EQ(list.status, 0);
  EXPECT_EQ(list.err, "");
  std::istringstream lines(list.out);
  std::string line;
  size_t count = 0;
  for (const BundledScenario& bundled : BundledScenarios()) {
    ASSERT_TRUE(std::getline(lines, line));
    EXPECT_EQ(line.substr(0, bundled.name.size() + 2), bundled.name + "  ") << line;
    std::string error;
    const std::optional<Scenario> scenario = ParseScenario(bundled.text, error);
    ASSERT_TRUE(scenario.has_value()) << bundled.name << ": " << error;
    ASSERT_FALSE(scenario->about.empty());
    EXPECT_EQ(line.substr(line.size() - scenario->about.front().size()), scenario->about.front());
    ++count;
  }
  EXPECT_EQ(count, BundledScenarios().size());
  EXPECT_FALSE(std::getline(lines, line));
}

TEST(ZvagentTest, BadUsageIsTwo) {
  const std::vector<std::vector<std::string>> cases = {
      {},
      {"--upload", "u", "--download", "d"},
      {"--upload", "u", "s.zvs"},
      {"--upload", "u", "--download", "d", "s.zvs", "--bundled", "first-booking"},
      {"--upload", "u", "--download", "d", "a.zvs", "b.zvs"},
      {"--upload", "u", "--download", "d", "--frob", "s.zvs"},
      {"--upload", "u", "--download"},
  };
  for (const auto& args : cases) {
    const Outcome bad = Zvagent(args);
    EXPECT_EQ(bad.status, kExitUsage);
    EXPECT_EQ(bad.out, "");
    EXPECT_NE(bad.err.find("(see zvagent --help)"), std::string::npos) << bad.err;
  }
  EXPECT_EQ(Zvagent({"--upload", "u", "--download"}).err,
            "zvagent: --download needs a value (see zvagent --help)\n");
  EXPECT_EQ(Zvagent({"--upload", "u", "--download", "d", "--frob"}).err,
            "zvagent: unknown option \"--frob\" (see zvagent --help)\n");
}

TEST(ZvagentTest, AnUnknownBundledScenario) {
  const Outcome bad = Zvagent({"--upload", "u", "--download", "d", "--bundled", "nope"});
  EXPECT_EQ(bad.status, kExitUsage);
  EXPECT_EQ(bad.err, "zvagent: no bundled scenario \"nope\" (see zvagent --list)\n");
}

TEST(ZvagentTest, AScenarioFileWithASyntaxErrorIsTwo) {
  test::TempDir dir;
  test::WriteFileBytes(dir.File("s.zvs"), "scenario s\nreceive\nexpect A\nend\n");
  const Outcome bad =
      Zvagent({"--upload", dir.path(), "--download", dir.path(), dir.File("s.zvs")});
  EXPECT_EQ(bad.status, kExitUsage);
  EXPECT_EQ(bad.err,
            "zvagent: scenario line 3: expect needs \"= TEXT\" after the path (or: expect "
            "count/none)\n");
  EXPECT_EQ(bad.out, "");
}

TEST(ZvagentTest, AMissingScenarioFileIsTwo) {
  test::TempDir dir;
  const Outcome bad =
      Zvagent({"--upload", dir.path(), "--download", dir.path(), dir.File("none.zvs")});
  EXPECT_EQ(bad.status, kExitUsage);
  EXPECT_EQ(bad.err, "zvagent: cannot read the scenario file " + dir.File("none.zvs") +
                         " (see zvagent --help)\n");
}

TEST(ZvagentTest, RunsAScenarioFile) {
  test::TempDir dir;
  test::WriteFileBytes(dir.File("s.zvs"), "scenario s\ntimeout 5\nreceive\nend\nsend\nend\n");
  std::filesystem::create_directories(dir.File("up"));
  test::WriteFileBytes(dir.File("up") + "/HX3_1.xml", test::ComponentMessage("3", "1", ""));
  const Outcome run = Zvagent({"--upload", dir.File("up"), "--download", dir.path(), "--keep",
                               dir.File("keep"), dir.File("s.zvs")});
  EXPECT_EQ(run.status, 0) << run.out;
  EXPECT_NE(run.out.find("agent: wrote HX3_2.xml (0 commands, lock held 0 ms)\n"),
            std::string::npos);
  EXPECT_TRUE(std::filesystem::exists(dir.File("keep") + "/HX3_1.xml"));
  EXPECT_TRUE(std::filesystem::exists(dir.File("HX3_2.xml")));
}

TEST(ZvagentTest, AFailedRunIsOne) {
  test::TempDir dir;
  test::WriteFileBytes(dir.File("s.zvs"),
                       "scenario s\ntimeout 5\nreceive\nexpect SyncBody/Alert = x\nend\n");
  test::WriteFileBytes(dir.File("HX3_1.xml"), test::ComponentMessage("3", "1", ""));
  const Outcome run =
      Zvagent({"--upload", dir.path(), "--download", dir.path(), dir.File("s.zvs")});
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.out.find("agent:   FAIL SyncBody/Alert = x: not found\n"), std::string::npos);
}

}  // namespace
}  // namespace kdzv::agent
