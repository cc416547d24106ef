// Every bundled scenario played by the zvagent program against zvsync sync,
// both as processes, the way a user runs them side by side. The messages the
// component writes are compared byte for byte with goldens.
#ifndef _WIN32

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "agent/bundled_scenarios.h"
#include "support/fakes.h"
#include "support/golden.h"

namespace kdzv {
namespace {

struct Exchange {
  const char* scenario;
  const char* zvsync_options;      // besides the folders and files
  int zvsync_status;               // the exchange's result
  const char* zvsync_line;         // a line zvsync must print
  std::vector<std::string> depot;  // the agent's files the component put away
};

const Exchange kExchanges[] = {
    {"first-booking",
     "--host accept",
     0,
     "Die Datei kann nicht exklusiv geöffnet werden",
     {"HX1_2.xml", "HX1_4.xml", "HX1_6.xml"}},
    {"foreign-files",
     "--host accept",
     4,
     "Die Datei gehört nicht zu aktuellen Session. Datei "
     "wird ignoriert.",
     {"HX1_2.xml", "HX1_5.xml", "XX99_4.xml"}},
    {"refusing-host",
     "--host refuse",
     0,
     "Synchronisation erfolgreich abgeschlossen.",
     {"HX1_2.xml", "HX1_4.xml"}},
    {"slow-sync",
     "--host accept --slow-sync",
     0,
     "Synchronisation erfolgreich abgeschlossen.",
     {"HX1_2.xml", "HX1_4.xml"}},
};

// Names the exchange in test output.
void PrintTo(const Exchange& exchange, std::ostream* out) { *out << exchange.scenario; }

std::string Quoted(const std::string& text) { return "'" + text + "'"; }

// The log's text column (everything after the second TAB of each line), with
// the test folder written as "{dir}" and a block of lines that repeats itself
// at once (a file offered again while the agent still holds it) kept once,
// so that the text does not depend on how many ticks a held file took.
std::string LogTexts(const std::string& log, const std::string& dir) {
  std::vector<std::string> lines;
  size_t start = 0;
  while (start < log.size()) {
    size_t end = log.find("\r\n", start);
    if (end == std::string::npos) end = log.size();
    std::string line = log.substr(start, end - start);
    start = end + 2;
    const size_t first_tab = line.find('\t');
    const size_t second_tab =
        first_tab == std::string::npos ? std::string::npos : line.find('\t', first_tab + 1);
    // The access check's line has no date and time columns.
    if (second_tab != std::string::npos) line = line.substr(second_tab + 1);
    for (size_t at = line.find(dir); at != std::string::npos; at = line.find(dir, at)) {
      line.replace(at, dir.size(), "{dir}");
    }
    lines.push_back(line);
  }
  std::vector<std::string> kept;
  for (const std::string& line : lines) {
    kept.push_back(line);
    for (size_t block = 1; block <= 4 && 2 * block <= kept.size(); ++block) {
      if (std::equal(kept.end() - static_cast<std::ptrdiff_t>(block), kept.end(),
                     kept.end() - static_cast<std::ptrdiff_t>(2 * block))) {
        kept.resize(kept.size() - block);
        break;
      }
    }
  }
  std::string text;
  for (const std::string& line : kept) text += line + "\n";
  return text;
}

int ExitStatusIn(const std::string& path) {
  const std::string text = test::ReadFileBytes(path);
  return text.empty() ? -1 : std::stoi(text);
}

class ScenarioExchangeTest : public ::testing::TestWithParam<Exchange> {};

TEST_P(ScenarioExchangeTest, AgentAndComponentAgree) {
  const Exchange& exchange = GetParam();
  test::TempDir x;
  for (const char* folder : {"up", "down", "depot", "keep", "home"}) {
    ::mkdir(x.File(folder).c_str(), 0755);
  }
  // The script runs the component in the background and the agent in the
  // foreground. The component waits for the service without end, so once
  // the agent has finished it gets 10 s to end on its own.
  const std::string d = Quoted(x.path());
  std::string script = "env TZ=Europe/Berlin XDG_CONFIG_HOME=" + d + "/home ";
  script += std::string(KDZV_ZVSYNC_PATH) + " sync --download " + d + "/down --upload " + d +
            "/up --depot " + d + "/depot --cfg " + d + "/zv.cfg --log --log-file " + d + "/zv.log " +
            exchange.zvsync_options + " </dev/null >" + d + "/sync.out 2>&1 & pid=$!\n";
  script += std::string(KDZV_ZVAGENT_PATH) + " --upload " + d + "/up --download " + d +
            "/down --keep " + d + "/keep --bundled " + exchange.scenario + " >" + d +
            "/agent.out 2>&1; echo $? >" + d + "/agent.status\n";
  script +=
      "i=0; while kill -0 $pid 2>/dev/null && [ $i -lt 100 ]; do sleep 0.1; i=$((i+1)); "
      "done\n";
  script += "kill $pid 2>/dev/null; wait $pid; echo $? >" + d + "/sync.status\n";
  test::WriteFileBytes(x.File("run.sh"), script);
  ASSERT_EQ(std::system(("sh " + Quoted(x.File("run.sh"))).c_str()), 0);

  const std::string agent = test::ReadFileBytes(x.File("agent.out"));
  const std::string sync = test::ReadFileBytes(x.File("sync.out"));
  EXPECT_EQ(ExitStatusIn(x.File("agent.status")), 0) << agent;
  EXPECT_NE(agent.find(std::string("agent: scenario ") + exchange.scenario + " passed\n"),
            std::string::npos)
      << agent;
  EXPECT_EQ(agent.find("FAIL"), std::string::npos) << agent;
  EXPECT_EQ(ExitStatusIn(x.File("sync.status")), exchange.zvsync_status) << sync;
  EXPECT_NE(sync.find(exchange.zvsync_line), std::string::npos) << sync;

  // The component's messages, as the agent kept them.
  const std::string golden_dir = std::string("exchange/") + exchange.scenario;
  std::vector<std::string> goldens =
      test::FolderEntries(test::TestDataPath("golden/" + golden_dir));
  std::vector<std::string> kept = test::FolderEntries(x.File("keep"));
  std::sort(goldens.begin(), goldens.end());
  std::sort(kept.begin(), kept.end());
  EXPECT_FALSE(goldens.empty());
  EXPECT_EQ(kept, goldens);
  for (const std::string& name : goldens) {
    EXPECT_EQ(test::ReadFileBytes(x.File("keep") + "/" + name),
              test::Golden(golden_dir + "/" + name))
        << name;
  }

  // The agent's files went to the depot; both exchange folders are empty.
  std::vector<std::string> depot = test::FolderEntries(x.File("depot"));
  std::sort(depot.begin(), depot.end());
  EXPECT_EQ(depot, exchange.depot);
  for (const std::string& name : depot) {
    EXPECT_NE(test::ReadFileBytes(x.File("depot") + "/" + name)
                  .find("<Source><LocName>Zentavo</LocName><LocURI/></Source>"),
              std::string::npos)
        << name;
  }
  EXPECT_TRUE(test::FolderEntries(x.File("up")).empty());
  EXPECT_TRUE(test::FolderEntries(x.File("down")).empty());

  // Every text the component logged, in order, as the golden has it.
  const std::string log_golden = std::string("exchange-log/") + exchange.scenario + ".txt";
  const std::string texts = LogTexts(test::ReadFileBytes(x.File("zv.log")), x.path());
  if (std::getenv("KDZV_UPDATE_GOLDENS") != nullptr) {
    test::WriteFileBytes(test::TestDataPath("golden/" + log_golden), texts);
  }
  EXPECT_EQ(texts, test::Golden(log_golden));
}

INSTANTIATE_TEST_SUITE_P(Bundled, ScenarioExchangeTest, ::testing::ValuesIn(kExchanges),
                         [](const ::testing::TestParamInfo<Exchange>& param_info) {
                           std::string name = param_info.param.scenario;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

TEST(ScenarioExchangeCoverageTest, EveryBundledScenarioIsPlayed) {
  std::vector<std::string> played;
  for (const Exchange& exchange : kExchanges) played.emplace_back(exchange.scenario);
  std::vector<std::string> bundled;
  for (const agent::BundledScenario& scenario : agent::BundledScenarios()) {
    bundled.push_back(scenario.name);
  }
  EXPECT_EQ(played, bundled);
}

TEST(ScenarioExchangeCoverageTest, TheBundledTextsAreTheScenarioFiles) {
  for (const agent::BundledScenario& scenario : agent::BundledScenarios()) {
    EXPECT_EQ(scenario.text,
              test::ReadFileBytes(std::string(KDZV_SCENARIO_DIR) + "/" + scenario.name + ".zvs"))
        << scenario.name;
  }
}

}  // namespace
}  // namespace kdzv

#endif  // _WIN32
