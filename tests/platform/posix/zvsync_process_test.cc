// Runs the real zvsync program as a user would.
#include <gtest/gtest.h>

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
