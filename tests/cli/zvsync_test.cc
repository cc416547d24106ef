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
            "PatIdentKriterium=0\n");
}

}  // namespace
}  // namespace kdzv
