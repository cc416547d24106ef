// Runs the real zvsync program as a user would.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdio>
#include <string>

#include "support/fakes.h"

namespace kdzv {
namespace {

struct Result {
  int status;
  std::string out;
};

Result RunShell(const std::string& command) {
  Result result{-1, {}};
  std::FILE* pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) return result;
  char buffer[4096];
  size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) result.out.append(buffer, n);
  const int raw = ::pclose(pipe);
  result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  return result;
}

class ZvsyncProcess : public ::testing::Test {
 protected:
  Result Zvsync(const std::string& args, const std::string& tz = "Europe/Berlin") {
    return RunShell("env TZ=" + tz + " XDG_CONFIG_HOME='" + home.path() + "' " +
                    KDZV_ZVSYNC_PATH + " " + args + " 2>&1");
  }
  test::TempDir home;
};

TEST_F(ZvsyncProcess, ConvertUnderBerlin) {
  EXPECT_EQ(Zvsync("convert to-service '2024-07-01 12:00:00'").out, "20240701T100000Z\n");
  EXPECT_EQ(Zvsync("convert to-service '2024-12-01 12:00:00'").out, "20241201T110000Z\n");
  EXPECT_EQ(Zvsync("convert to-local 20240701T100000Z").out, "2024-07-01 12:00:00\n");
}

TEST_F(ZvsyncProcess, AnalyzeReadsAMessageFile) {
  const Result read =
      Zvsync("analyze '" + std::string(KDZV_TEST_DATA_DIR) + "/messages/HX17_2.xml'");
  EXPECT_EQ(read.status, 0) << read.out;
  EXPECT_NE(read.out.find("add appointment, CmdID 4: Source=\"ZV-4711\""), std::string::npos)
      << read.out;
  EXPECT_NE(read.out.find("(local 2024-07-01 08:00:00)"), std::string::npos) << read.out;
}

TEST_F(ZvsyncProcess, AnalyzeOfAnUnreadableFileFails) {
  const Result read =
      Zvsync("analyze '" + std::string(KDZV_TEST_DATA_DIR) + "/malformed/billion_laughs.xml'");
  EXPECT_EQ(read.status, 1) << read.out;
  EXPECT_NE(read.out.find("log: (AnalyzeOrderFile) --> Achtung: Fehler beim Lesen der Datei: "),
            std::string::npos)
      << read.out;
}

// One exchange of `zvsync sync` in folder `x` against a small shell agent:
// it waits for each message and answers by renaming a finished file into
// the download folder. The agent's last line is "exit=" + zvsync's status.
Result SyncAgainstAShellAgent(const test::TempDir& x, const test::TempDir& home) {
  for (const char* folder : {"up", "down", "depot", "staging"}) {
    ::mkdir((x.path() + "/" + folder).c_str(), 0755);
  }
  const std::string header =
      "<?xml version=\"1.0\" encoding=\"utf-8\"?><SyncML><SyncHdr><VerDTD>1.0</VerDTD>"
      "<VerProto>SyncZV/1.0</VerProto><SessionID>1</SessionID>";
  test::WriteFileBytes(x.path() + "/staging/HX1_2.xml",
                       header + "<MsgID>2</MsgID></SyncHdr><SyncBody><Add><CmdID>2</CmdID>"
                                "<VEvent><Source>ZV-1</Source><Customer><DateOfBirth>19700315"
                                "</DateOfBirth></Customer></VEvent></Add></SyncBody></SyncML>");
  test::WriteFileBytes(x.path() + "/staging/HX1_4.xml",
                       header + "<MsgID>4</MsgID></SyncHdr><SyncBody><Status><Cmd>SyncHdr</Cmd>"
                                "<Data>Session End</Data></Status></SyncBody></SyncML>");
  const std::string d = "'" + x.path() + "'";
  const std::string script =
      std::string(KDZV_ZVSYNC_PATH) + " sync --download " + d + "/down --upload " + d +
      "/up --depot " + d + "/depot --prefix HX --cfg " + d + "/zv.cfg --log-file " + d +
      "/zv.log --log & pid=$!; "
      "for n in 1 3; do i=0; while [ ! -f " + d + "/up/HX1_$n.xml ] && [ $i -lt 200 ]; do "
      "sleep 0.05; i=$((i+1)); done; m=$((n+1)); mv " + d + "/staging/HX1_$m.xml " + d +
      "/down/; done; wait $pid; echo exit=$?";
  test::WriteFileBytes(x.path() + "/agent.sh", script);
  return RunShell("env TZ=Europe/Berlin XDG_CONFIG_HOME='" + home.path() + "' sh '" + x.path() +
                  "/agent.sh' </dev/null 2>&1");
}

TEST_F(ZvsyncProcess, SyncRunsAWholeExchangeWithAnAgentOnTheOtherSide) {
  test::TempDir x;
  const Result sync = SyncAgainstAShellAgent(x, home);
  EXPECT_NE(sync.out.find("Neue Datei erhalten: HX1_2.xml"), std::string::npos) << sync.out;
  EXPECT_NE(sync.out.find("Synchronisation erfolgreich abgeschlossen."), std::string::npos)
      << sync.out;
  EXPECT_NE(sync.out.find("exit=0"), std::string::npos) << sync.out;
  const std::string answer = test::ReadFileBytes(x.path() + "/up/HX1_3.xml");
  EXPECT_NE(answer.find("<Map><CmdID>2</CmdID><VEvent><Source>1</Source><Target>ZV-1</Target>"),
            std::string::npos)
      << answer;
  EXPECT_EQ(test::FolderEntries(x.path() + "/depot").size(), 2u);
  EXPECT_NE(test::ReadFileBytes(x.path() + "/zv.cfg").find("LastSessionID=1"), std::string::npos);
}

TEST_F(ZvsyncProcess, SyncOverAHandEditedStoreRunsAndReportsEachBadValueOnce) {
  // Values of the wrong type, as a user might leave them in the store.
  ::mkdir((home.path() + "/kdzentavo").c_str(), 0755);
  ::mkdir((home.path() + "/kdzentavo/registry").c_str(), 0755);
  ::mkdir((home.path() + "/kdzentavo/registry/Software").c_str(), 0755);
  ::mkdir((home.path() + "/kdzentavo/registry/Software/HAL+VEX").c_str(), 0755);
  test::WriteFileBytes(home.path() + "/kdzentavo/registry/Software/HAL+VEX/Halvex.ini",
                       "[Zentavo]\r\nDoLog=ja\r\nSlowSync=x\r\nTimeoutSeconds=\r\n"
                       "PatIdentKriterium=99999999999\r\n");
  test::TempDir x;
  const Result sync = SyncAgainstAShellAgent(x, home);
  EXPECT_NE(sync.out.find("Synchronisation erfolgreich abgeschlossen."), std::string::npos)
      << sync.out;
  EXPECT_NE(sync.out.find("exit=0"), std::string::npos) << sync.out;
  // zvsync's --log turns logging on for the run; the reports made while the
  // stored values were read came before that, with logging still off.
  const std::string log = test::ReadFileBytes(x.path() + "/zv.log");
  EXPECT_NE(log.find("(StartSync) -> Rückgabewert 0"), std::string::npos) << log;
  EXPECT_EQ(test::FolderEntries(x.path() + "/depot").size(), 2u);
}

TEST_F(ZvsyncProcess, SyncWithAMissingFolderExitsOne) {
  const Result sync = Zvsync("sync --download /nonexistent/down --upload /nonexistent/up "
                             "--cfg '" + home.path() + "/zv.cfg' --log-file '" + home.path() +
                             "/zv.log' </dev/null");
  EXPECT_EQ(sync.status, 1) << sync.out;
  EXPECT_NE(sync.out.find("Fehler: Der eingestellte Downloadpfad existiert nicht: /nonexistent/down"),
            std::string::npos)
      << sync.out;
}

TEST_F(ZvsyncProcess, ConvertUnderUtcIsIdentity) {
  EXPECT_EQ(Zvsync("convert to-service '2024-07-01 12:00:00'", "UTC").out, "20240701T120000Z\n");
}

TEST_F(ZvsyncProcess, SettingsPersistInTheUsersStore) {
  EXPECT_EQ(Zvsync("settings set SystemName 'Praxis Süd'").status, 0);
  const Result get = Zvsync("settings get SystemName");
  EXPECT_EQ(get.status, 0);
  EXPECT_EQ(get.out, "Praxis Süd\n");
  const std::string ini =
      test::ReadFileBytes(home.path() + "/kdzentavo/registry/Software/HAL+VEX/Halvex.ini");
  EXPECT_NE(ini.find("[Zentavo]"), std::string::npos) << ini;
  EXPECT_NE(ini.find("Praxis Süd"), std::string::npos) << ini;
}

TEST_F(ZvsyncProcess, ExitStatuses) {
  EXPECT_EQ(Zvsync("--help").status, 0);
  EXPECT_EQ(Zvsync("--version").status, 0);
  const Result bad = Zvsync("settings set Nope 1");
  EXPECT_EQ(bad.status, 2);
  EXPECT_EQ(bad.out, "zvsync: unknown setting \"Nope\" (see zvsync --help)\n");
}

}  // namespace
}  // namespace kdzv

namespace kdzv {
namespace {

TEST(ZvsyncDemo, RunsTheFirstBookingExchangeAndSumsItUp) {
  test::TempDir home;
  const std::string dir = home.path() + "/exchange";
  const Result demo = RunShell("env TZ=Europe/Berlin XDG_CONFIG_HOME='" + home.path() + "' " +
                               KDZV_ZVSYNC_PATH + " demo --dir '" + dir + "' </dev/null 2>&1");
  EXPECT_EQ(demo.status, 0) << demo.out;
  // The window's lines and the agent's transcript, interleaved line by line.
  EXPECT_NE(demo.out.find("\nNeue Session für Zentavo wird initiiert:\n"), std::string::npos);
  EXPECT_NE(demo.out.find("\nagent: received HX1_1.xml (SessionID 1, MsgID 1: Alert 206)\n"),
            std::string::npos)
      << demo.out;
  EXPECT_NE(demo.out.find("\nagent: scenario first-booking passed\n"), std::string::npos);
  const std::string summary = demo.out.substr(demo.out.find("== Summary"));
  EXPECT_NE(summary.find("Result of the exchange: 0 (success)\n"), std::string::npos) << summary;
  EXPECT_NE(summary.find("  OnCalendar                     2\n"), std::string::npos) << summary;
  EXPECT_NE(summary.find("  OnTermin Add                   5\n"), std::string::npos) << summary;
  EXPECT_NE(summary.find("  Status Add 201                10\n"), std::string::npos) << summary;
  EXPECT_NE(summary.find("  Map Calendar                   2\n"), std::string::npos) << summary;
  EXPECT_NE(summary.find("Files in the depot (3): HX1_2.xml HX1_4.xml HX1_6.xml\n"),
            std::string::npos)
      << summary;
  EXPECT_NE(summary.find(", 0 failed: passed\n"), std::string::npos) << summary;
  EXPECT_EQ(test::FolderEntries(dir + "/depot").size(), 3u);
  EXPECT_NE(test::ReadFileBytes(dir + "/kdZentavo.cfg").find("LastSessionID=1"),
            std::string::npos);
}

TEST(ZvsyncDemo, RefusesAFolderThatIsNotEmpty) {
  test::TempDir home;
  test::WriteFileBytes(home.path() + "/something", "x");
  const Result demo = RunShell(std::string(KDZV_ZVSYNC_PATH) + " demo --dir '" + home.path() +
                               "' </dev/null 2>&1");
  EXPECT_EQ(demo.status, 1);
  EXPECT_EQ(demo.out, "zvsync: demo: the folder is not empty: " + home.path() + "\n");
}

}  // namespace
}  // namespace kdzv
