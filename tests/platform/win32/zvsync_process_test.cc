// Runs the real zvsync.exe as a user would, from the Windows side.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "agent/agent_test_support.h"
#include "support/fresh_user_settings.h"
#include "platform/win32/wide_text.h"
#include "support/fakes.h"

namespace kdzv {
namespace {

// The build tree lies on the Linux side; under Wine that is drive Z:.
std::string WindowsPath(std::string path) {
  if (!path.empty() && path[0] == '/') {
    for (char& c : path) c = c == '/' ? '\\' : c;
    path = "Z:" + path;
  }
  return path;
}

std::string ProgramPath() { return WindowsPath(KDZV_ZVSYNC_PATH); }

struct Result {
  int status;
  std::string out;
};

Result Zvsync(const std::string& args) {
  Result result{-1, {}};
  const std::string command = "\"\"" + ProgramPath() + "\" " + args + " 2>&1\"";
  std::FILE* pipe = ::_popen(command.c_str(), "rb");
  if (pipe == nullptr) return result;
  char buffer[4096];
  size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) result.out.append(buffer, n);
  result.status = ::_pclose(pipe);
  return result;
}

TEST(ZvsyncProcess, ConvertUnderBerlin) {
  const char* tz = std::getenv("TZ");
  if (tz == nullptr || std::string(tz) != "Europe/Berlin") GTEST_SKIP() << "needs TZ=Europe/Berlin";
  EXPECT_EQ(Zvsync("convert to-service \"2024-07-01 12:00:00\"").out, "20240701T100000Z\r\n");
  EXPECT_EQ(Zvsync("convert to-local 20240701T100000Z").out, "2024-07-01 12:00:00\r\n");
}

TEST(ZvsyncProcess, AnalyzeReadsAMessageFile) {
  const Result read =
      Zvsync("analyze \"" + WindowsPath(KDZV_TEST_DATA_DIR) + "\\messages\\HX17_2.xml\"");
  EXPECT_EQ(read.status, 0) << read.out;
  EXPECT_NE(read.out.find("add appointment, CmdID 4: Source=\"ZV-4711\""), std::string::npos)
      << read.out;
}

TEST(ZvsyncProcess, AnalyzeOfAnUnreadableFileFails) {
  const Result read =
      Zvsync("analyze \"" + WindowsPath(KDZV_TEST_DATA_DIR) + "\\malformed\\billion_laughs.xml\"");
  EXPECT_EQ(read.status, 1) << read.out;
}

TEST(ZvsyncProcess, ExitStatuses) {
  EXPECT_EQ(Zvsync("--version").status, 0);
  const Result bad = Zvsync("convert sideways 1");
  EXPECT_EQ(bad.status, 2);
  EXPECT_EQ(bad.out, "zvsync: unknown direction \"sideways\" (to-service or to-local) (see zvsync "
                     "--help)\r\n");
}

// `text` with its lines ending in a line feed alone.
std::string Plain(const std::string& text) {
  std::string plain;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    plain.push_back(text[i]);
  }
  return plain;
}

TEST(ZvsyncProcess, DemoRunsTheFirstBookingExchangeWithTheRealWindow) {
  test::FreshUserSettings fresh_user;
  test::TempDir home;
  const std::string dir = home.File("exchange");
  const Result demo = Zvsync("demo --dir \"" + dir + "\"");
  const std::string out = Plain(demo.out);
  EXPECT_EQ(demo.status, 0) << out;
  // The window's lines and the agent's transcript, interleaved line by line.
  EXPECT_NE(out.find("\nNeue Session für Zentavo wird initiiert:\n"), std::string::npos) << out;
  EXPECT_NE(out.find("\nagent: received HX1_1.xml (SessionID 1, MsgID 1: Alert 206)\n"),
            std::string::npos)
      << out;
  EXPECT_NE(out.find("\nSynchronisation erfolgreich abgeschlossen.\n"), std::string::npos) << out;
  EXPECT_NE(out.find("\nagent: scenario first-booking passed\n"), std::string::npos) << out;
  const size_t summary_at = out.find("== Summary");
  ASSERT_NE(summary_at, std::string::npos) << out;
  const std::string summary = out.substr(summary_at);
  EXPECT_NE(summary.find("Result of the exchange: 0 (success)\n"), std::string::npos) << summary;
  EXPECT_NE(summary.find("  OnTermin Add                   5\n"), std::string::npos) << summary;
  EXPECT_NE(summary.find("Files in the depot (3): HX1_2.xml HX1_4.xml HX1_6.xml\n"),
            std::string::npos)
      << summary;
  EXPECT_NE(summary.find(", 0 failed: passed\n"), std::string::npos) << summary;
  EXPECT_EQ(test::FolderEntries(dir + "\\depot").size(), 3u);
}

TEST(ZvsyncProcess, DemoRefusesAFolderThatIsNotEmpty) {
  test::TempDir home;
  test::WriteFileBytes(home.File("something"), "x");
  const Result demo = Zvsync("demo --dir \"" + home.path() + "\"");
  EXPECT_EQ(demo.status, 1);
  EXPECT_EQ(Plain(demo.out), "zvsync: demo: the folder is not empty: " + home.path() + "\n");
}


TEST(ZvsyncProcess, SyncWithAProgramAsTheHostAgainstTheAgent) {
  test::FreshUserSettings fresh_user;
  test::TempDir x;
  for (const char* folder : {"up", "down", "depot", "keep"}) {
    std::filesystem::create_directory(x.File(folder));
  }
  const auto q = [](const std::string& path) { return "\"" + path + "\""; };
  // The host is a program of its own that accepts every event; its command
  // line is one argument of zvsync, with its own quotes escaped.
  const std::string host = "\"exec:\\\"" + WindowsPath(KDZV_CHILD_PROBE_PATH) +
                           "\\\" accept-host \\\"" + x.File("events.txt") + "\\\"\"";
  const std::string sync_command =
      q(ProgramPath()) + " sync --download " + q(x.File("down")) + " --upload " +
      q(x.File("up")) + " --depot " + q(x.File("depot")) + " --cfg " + q(x.File("zv.cfg")) +
      " --log --log-file " + q(x.File("zv.log")) + " --host " + host + " --host-timeout 20";
  HANDLE sync = test::StartProgram(sync_command, x.File("sync.out"));
  ASSERT_NE(sync, nullptr) << sync_command;
  const std::string agent_command =
      q(WindowsPath(KDZV_ZVAGENT_PATH)) + " --upload " + q(x.File("up")) + " --download " +
      q(x.File("down")) + " --keep " + q(x.File("keep")) + " --bundled first-booking";
  const int agent_status =
      test::ExitStatusAfter(test::StartProgram(agent_command, x.File("agent.out")), 120000);
  const int sync_status = test::ExitStatusAfter(sync, 10000);
  const std::string agent = Plain(test::ReadFileBytes(x.File("agent.out")));
  const std::string out = Plain(test::ReadFileBytes(x.File("sync.out")));
  // The agent played its whole part. (Its checks of the maps fail: this
  // host gives the appointments no numbers of its own.)
  EXPECT_NE(agent.find("agent: scenario first-booking "), std::string::npos) << agent;
  EXPECT_NE(agent_status, -1) << agent;
  EXPECT_EQ(sync_status, 0) << out;
  EXPECT_NE(out.find("Synchronisation erfolgreich abgeschlossen."), std::string::npos) << out;
  EXPECT_EQ(out.find("zvsync: host:"), std::string::npos) << out;
  EXPECT_EQ(test::FolderEntries(x.File("depot")).size(), 3u);
  // Every event reached the host program through its input, one line each.
  const std::string events = test::ReadFileBytes(x.File("events.txt"));
  const auto count = [&](const std::string& what) {
    size_t n = 0;
    for (size_t at = events.find(what); at != std::string::npos; at = events.find(what, at + 1)) {
      ++n;
    }
    return n;
  };
  EXPECT_EQ(count("{\"event\":\"OnTermin\""), 8u) << events;
  EXPECT_EQ(count("{\"event\":\"OnCalendar\""), 2u) << events;
  EXPECT_EQ(count("{\"event\":\"OnAttribute\""), 3u) << events;
  EXPECT_EQ(count("{\"event\":\"OnQueryOpeningTime\""), 1u) << events;
  EXPECT_NE(events.find("{\"event\":\"OnSyncLog\",\"text\":\"Neue Session für Zentavo wird "
                        "initiiert:\"}\n"),
            std::string::npos)
      << events;
}

TEST(ZvsyncProcess, SyncWithAHostProgramThatCannotStartFails) {
  test::TempDir x;
  const Result sync = Zvsync("sync --download \"" + x.path() + "\" --upload \"" + x.path() +
                             "\" --host \"exec:Z:\\no\\such\\host.exe\"");
  EXPECT_EQ(sync.status, 1) << sync.out;
  EXPECT_EQ(Plain(sync.out).rfind("zvsync: cannot start the host: cannot start "
                                  "\"Z:\\no\\such\\host.exe\": ",
                                  0),
            0u)
      << sync.out;
}

}  // namespace
}  // namespace kdzv
