// Every bundled scenario played by the zvagent program against zvsync sync,
// both as processes, the way a user runs them side by side (on Windows both
// as Windows programs, so that the agent's lock on a file it still writes is
// one that the component sees). The messages the component writes are
// compared byte for byte with goldens.
#include <gtest/gtest.h>

#ifdef _WIN32
#include <windows.h>
#else
#include <sys/stat.h>
#include <sys/wait.h>
#endif

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "agent/agent_test_support.h"
#include "support/fresh_user_settings.h"
#include "agent/bundled_scenarios.h"
#include "support/fakes.h"
#include "support/golden.h"
#include "support/log_texts.h"
#include "util/windows_1252.h"

#ifdef _WIN32
#include "platform/win32/wide_text.h"
#endif

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

// What a program printed, with its lines ending in a line feed alone (a
// Windows program's standard output ends them with CR LF).
std::string ProgramOutput(const std::string& path) {
  std::string text = test::ReadFileBytes(path);
#ifdef _WIN32
  std::string plain;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    plain.push_back(text[i]);
  }
  text = plain;
#endif
  return text;
}

int ExitStatusIn(const std::string& path) {
  const std::string text = test::ReadFileBytes(path);
  return text.empty() ? -1 : std::stoi(text);
}

#ifdef _WIN32

// The build tree lies on the Linux side; under Wine that is drive Z:.
std::string WindowsPath(std::string path) {
  if (!path.empty() && path[0] == '/') {
    for (char& c : path) c = c == '/' ? '\\' : c;
    path = "Z:" + path;
  }
  return path;
}

// Runs zvsync in the background and the agent in the foreground, as the
// Linux script does; writes both statuses and outputs into `x`.
void RunSideBySide(const Exchange& exchange, const test::TempDir& x) {
  for (const char* folder : {"up", "down", "depot", "keep"}) {
    std::filesystem::create_directory(x.File(folder));
  }
  const auto q = [](const std::string& path) { return "\"" + path + "\""; };
  const std::string sync_command =
      q(WindowsPath(KDZV_ZVSYNC_PATH)) + " sync --download " + q(x.File("down")) +
      " --upload " + q(x.File("up")) + " --depot " + q(x.File("depot")) + " --cfg " +
      q(x.File("zv.cfg")) + " --log --log-file " + q(x.File("zv.log")) + " " +
      exchange.zvsync_options;
  HANDLE sync = test::StartProgram(sync_command, x.File("sync.out"));
  ASSERT_NE(sync, nullptr) << sync_command;
  const std::string agent_command =
      q(WindowsPath(KDZV_ZVAGENT_PATH)) + " --upload " + q(x.File("up")) + " --download " +
      q(x.File("down")) + " --keep " + q(x.File("keep")) + " --bundled " + exchange.scenario;
  const int agent_status = test::ExitStatusAfter(test::StartProgram(agent_command, x.File("agent.out")),
                                           120000);
  test::WriteFileBytes(x.File("agent.status"), std::to_string(agent_status));
  // The component waits for the service without end: once the agent has
  // finished it gets 10 s to end on its own.
  test::WriteFileBytes(x.File("sync.status"), std::to_string(test::ExitStatusAfter(sync, 10000)));
}

#else

std::string Quoted(const std::string& text) { return "'" + text + "'"; }

void RunSideBySide(const Exchange& exchange, const test::TempDir& x) {
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
}

#endif

class ScenarioExchangeTest : public ::testing::TestWithParam<Exchange> {};

TEST_P(ScenarioExchangeTest, AgentAndComponentAgree) {
  const Exchange& exchange = GetParam();
  test::FreshUserSettings fresh_user;
  test::TempDir x;
  RunSideBySide(exchange, x);
  if (HasFatalFailure()) return;

  const std::string agent = ProgramOutput(x.File("agent.out"));
  const std::string sync = ProgramOutput(x.File("sync.out"));
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
#ifdef _WIN32
  // On Windows the log is written in the ANSI code page, and dates in the
  // texts take the system's short date form, which the goldens cannot know.
  const std::string texts = test::WithoutDates(
      test::LogTexts(Windows1252ToUtf8(test::ReadFileBytes(x.File("zv.log"))), x.path()));
  EXPECT_EQ(texts, test::WithoutDates(test::Golden(log_golden)));
#else
  const std::string texts = test::LogTexts(test::ReadFileBytes(x.File("zv.log")), x.path());
  if (std::getenv("KDZV_UPDATE_GOLDENS") != nullptr) {
    test::WriteFileBytes(test::TestDataPath("golden/" + log_golden), texts);
  }
  EXPECT_EQ(texts, test::Golden(log_golden));
#endif
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

