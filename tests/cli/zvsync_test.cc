#include "cli/zvsync.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "support/fake_registry.h"
#include "support/fakes.h"

namespace kdzv {
namespace {

class ZvsyncTest : public ::testing::Test {
 protected:
  int Run(std::vector<std::string> args) {
    out.str("");
    err.str("");
    CliContext context{zone, registry, System().xml_parser, System().file_system, out, err};
    return RunZvsync(args, context);
  }

  test::ScopedProcess scoped;
  test::FixedZone zone{1, -60, -60};  // one hour east of UTC, with summer time
  test::FakeRegistry registry;
  std::ostringstream out, err;
};

TEST_F(ZvsyncTest, HelpAndVersion) {
  EXPECT_EQ(Run({"--help"}), 0);
  EXPECT_NE(out.str().find("zvsync convert to-service"), std::string::npos);
  EXPECT_NE(out.str().find("zvsync settings set NAME VALUE"), std::string::npos);
  EXPECT_EQ(Run({"--version"}), 0);
  EXPECT_EQ(out.str(), std::string("zvsync ") + KDZV_VERSION + "\n");
}

TEST_F(ZvsyncTest, ConvertToService) {
  EXPECT_EQ(Run({"convert", "to-service", "2024-07-01 12:00:00"}), 0);
  EXPECT_EQ(out.str(), "20240701T100000Z\n");
  EXPECT_EQ(Run({"convert", "to-service", "2024-12-01T12:00:00"}), 0);
  EXPECT_EQ(out.str(), "20241201T110000Z\n");
}

TEST_F(ZvsyncTest, ConvertToLocal) {
  EXPECT_EQ(Run({"convert", "to-local", "20240701T100000Z"}), 0);
  EXPECT_EQ(out.str(), "2024-07-01 12:00:00\n");
}

TEST_F(ZvsyncTest, BadUsageIsExitTwoWithOneLine) {
  const std::vector<std::vector<std::string>> bad = {
      {},
      {"frobnicate"},
      {"convert"},
      {"convert", "sideways", "x"},
      {"convert", "to-service", "1.7.2024"},
      {"convert", "to-local", "2024070T100000Z"},
      {"convert", "to-local", "2024O701T100000Z"},
      {"settings"},
      {"settings", "get"},
      {"settings", "get", "NoSuchSetting"},
      {"settings", "set", "DoLog", "vielleicht"},
      {"settings", "set", "TimeoutSeconds", "40000"},
      {"settings", "set", "TimeoutSeconds"},
  };
  for (const auto& args : bad) {
    EXPECT_EQ(Run(args), 2) << ::testing::PrintToString(args);
    const std::string text = err.str();
    EXPECT_EQ(text.rfind("zvsync: ", 0), 0u) << text;
    EXPECT_EQ(text.find('\n'), text.size() - 1) << "one line: " << text;
    EXPECT_EQ(out.str(), "");
  }
}

TEST_F(ZvsyncTest, SettingsSetGetShow) {
  EXPECT_EQ(Run({"settings", "get", "TimeoutSeconds"}), 0);
  EXPECT_EQ(out.str(), "60\n");
  EXPECT_EQ(Run({"settings", "set", "UploadPath", "/srv/zentavo/up"}), 0);
  EXPECT_EQ(Run({"settings", "set", "DoLog", "true"}), 0);
  EXPECT_EQ(Run({"settings", "set", "TimeoutSeconds", "120"}), 0);
  EXPECT_EQ(Run({"settings", "get", "UploadPath"}), 0);
  EXPECT_EQ(out.str(), "/srv/zentavo/up\n");
  EXPECT_EQ(Run({"settings", "show"}), 0);
  EXPECT_EQ(out.str(),
            "DownloadPath=\n"
            "UploadPath=/srv/zentavo/up\n"
            "DoLog=True\n"
            "FilePraefix=HX\n"
            "AblagePath=\n"
            "SlowSync=False\n"
            "SystemName=\n"
            "TimeoutSeconds=120\n"
            "PatIdentKriterium=0\n"
            "HOUSEKEEPING.DepotKeepDays=0\n"
            "HOUSEKEEPING.LogMaxKB=0\n");
}

TEST_F(ZvsyncTest, TheHelpNamesTheHostBridge) {
  EXPECT_EQ(Run({"--help"}), 0);
  EXPECT_NE(out.str().find("--host exec:COMMAND"), std::string::npos) << out.str();
  EXPECT_NE(out.str().find("--host-timeout SECONDS"), std::string::npos) << out.str();
}

TEST_F(ZvsyncTest, BadHostBridgeOptionsAreExitTwoWithOneLine) {
  struct Case {
    std::vector<std::string> args;
    const char* message;
  };
  const std::vector<Case> cases = {
      {{"sync", "--host", "exec:"}, "zvsync: --host exec: needs a command (see zvsync --help)\n"},
      {{"sync", "--host", "exec: \t "},
       "zvsync: --host exec: needs a command (see zvsync --help)\n"},
      {{"sync", "--host", "Exec:true"},
       "zvsync: unknown host \"Exec:true\" (accept, refuse or exec:COMMAND) "
       "(see zvsync --help)\n"},
      {{"sync", "--host-timeout"}, "zvsync: --host-timeout needs a value (see zvsync --help)\n"},
      {{"sync", "--host-timeout", "0"},
       "zvsync: --host-timeout needs a whole number of seconds from 1 to 86400, not \"0\" "
       "(see zvsync --help)\n"},
      {{"sync", "--host-timeout", "-3"},
       "zvsync: --host-timeout needs a whole number of seconds from 1 to 86400, not \"-3\" "
       "(see zvsync --help)\n"},
      {{"sync", "--host-timeout", "86401"},
       "zvsync: --host-timeout needs a whole number of seconds from 1 to 86400, not \"86401\" "
       "(see zvsync --help)\n"},
      {{"sync", "--host-timeout", "99999999999"},
       "zvsync: --host-timeout needs a whole number of seconds from 1 to 86400, not "
       "\"99999999999\" (see zvsync --help)\n"},
      {{"sync", "--host-timeout", "1.5"},
       "zvsync: --host-timeout needs a whole number of seconds from 1 to 86400, not \"1.5\" "
       "(see zvsync --help)\n"},
      {{"sync", "--host-timeout", ""},
       "zvsync: --host-timeout needs a whole number of seconds from 1 to 86400, not \"\" "
       "(see zvsync --help)\n"},
      {{"sync", "--host-timeout", "ten", "--host", "exec:true"},
       "zvsync: --host-timeout needs a whole number of seconds from 1 to 86400, not \"ten\" "
       "(see zvsync --help)\n"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Run(c.args), 2) << ::testing::PrintToString(c.args);
    EXPECT_EQ(err.str(), c.message) << ::testing::PrintToString(c.args);
    EXPECT_EQ(out.str(), "");
  }
}

TEST_F(ZvsyncTest, GoodHostBridgeOptionsGetPastTheParsing) {
  // Without the ports of an exchange the run stops right after parsing.
  for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
           {"sync", "--host", "exec:cat", "--host-timeout", "1"},
           {"sync", "--host-timeout", "86400", "--host", "exec: sh -c 'exit 0'"},
           {"sync", "--host-timeout", "30"},
       }) {
    EXPECT_EQ(Run(args), 1) << ::testing::PrintToString(args);
    EXPECT_EQ(err.str(),
              "zvsync: sync needs a sync window and a message loop, and none was given\n");
  }
}

}  // namespace
}  // namespace kdzv
