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
#include "agent/bundled_scenarios.h"
#include "support/fakes.h"
#include "support/golden.h"
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
#ifdef _WIN32
      // The rest of the path with the separators of the goldens.
      for (size_t c = at + 5; c < line.size() && line[c] != ' '; ++c) {
        if (line[c] == '\\') line[c] = '/';
      }
#endif
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

#ifdef _WIN32
// `text` with every date of the form 1.2.2024, 01.02.2024 or 2/1/2024
// written as "{date}".
std::string WithoutDates(const std::string& text) {
  const auto digits = [&](size_t at, size_t least, size_t most) {
    size_t n = 0;
    while (at + n < text.size() && n < most && text[at + n] >= '0' && text[at + n] <= '9') ++n;
    return n >= least ? n : 0;
  };
  std::string out;
  for (size_t i = 0; i < text.size();) {
    const size_t day = digits(i, 1, 2);
    if (day > 0 && (i == 0 || text[i - 1] < '0' || text[i - 1] > '9')) {
      const size_t first = i + day;
      if (first < text.size() && (text[first] == '.' || text[first] == '/')) {
        const char separator = text[first];
        const size_t month = digits(first + 1, 1, 2);
        const size_t second = first + 1 + month;
        if (month > 0 && second < text.size() && text[second] == separator &&
            digits(second + 1, 4, 4) == 4) {
          out += "{date}";
          i = second + 5;
          continue;
        }
      }
    }
    out.push_back(text[i]);
    ++i;
  }
  return out;
}
#endif

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

// Starts `command_line` with its input from NUL and its output and error
// into `output_file`; the process handle, or null.
HANDLE StartProgram(const std::string& command_line, const std::string& output_file) {
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  HANDLE out = ::CreateFileW(win32::Widen(output_file).c_str(), GENERIC_WRITE,
                             FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit, CREATE_ALWAYS,
                             FILE_ATTRIBUTE_NORMAL, nullptr);
  HANDLE in = ::CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit,
                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = in;
  startup.hStdOutput = out;
  startup.hStdError = out;
  PROCESS_INFORMATION started{};
  std::wstring command = win32::Widen(command_line);
  const BOOL created = ::CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0,
                                        nullptr, nullptr, &startup, &started);
  if (in != INVALID_HANDLE_VALUE) ::CloseHandle(in);
  if (out != INVALID_HANDLE_VALUE) ::CloseHandle(out);
  if (!created) return nullptr;
  ::CloseHandle(started.hThread);
  return started.hProcess;
}

// The exit status of `process` once it has ended within `wait_ms`; a
// process still running then is ended and gives -1.
int ExitStatusAfter(HANDLE process, DWORD wait_ms) {
  if (process == nullptr) return -2;
  int status = -1;
  if (::WaitForSingleObject(process, wait_ms) == WAIT_OBJECT_0) {
    DWORD code = 0;
    ::GetExitCodeProcess(process, &code);
    status = static_cast<int>(code);
  } else {
    ::TerminateProcess(process, 1);
    ::WaitForSingleObject(process, INFINITE);
  }
  ::CloseHandle(process);
  return status;
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
  HANDLE sync = StartProgram(sync_command, x.File("sync.out"));
  ASSERT_NE(sync, nullptr) << sync_command;
  const std::string agent_command =
      q(WindowsPath(KDZV_ZVAGENT_PATH)) + " --upload " + q(x.File("up")) + " --download " +
      q(x.File("down")) + " --keep " + q(x.File("keep")) + " --bundled " + exchange.scenario;
  const int agent_status = ExitStatusAfter(StartProgram(agent_command, x.File("agent.out")),
                                           120000);
  test::WriteFileBytes(x.File("agent.status"), std::to_string(agent_status));
  // The component waits for the service without end: once the agent has
  // finished it gets 10 s to end on its own.
  test::WriteFileBytes(x.File("sync.status"), std::to_string(ExitStatusAfter(sync, 10000)));
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
  const std::string texts = WithoutDates(
      LogTexts(Windows1252ToUtf8(test::ReadFileBytes(x.File("zv.log"))), x.path()));
  EXPECT_EQ(texts, WithoutDates(test::Golden(log_golden)));
#else
  const std::string texts = LogTexts(test::ReadFileBytes(x.File("zv.log")), x.path());
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

