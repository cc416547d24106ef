#include "settings/zv_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/fake_registry.h"
#include "support/fakes.h"

namespace kdzv {
namespace {

using test::FakeRegistry;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Op = FakeRegistry::Op;

constexpr RegistryRoot kUser = RegistryRoot::kCurrentUser;
constexpr const char* kKey = "Software\\HAL+VEX\\Halvex\\Zentavo";

class ZVSettingsTest : public ::testing::Test {
 protected:
  std::optional<std::string> Stored(const char* name) const {
    return registry.Value(kUser, kKey, name);
  }
  test::ScopedProcess process;
  FakeRegistry registry;
};

TEST_F(ZVSettingsTest, NamesTheStoreAfterTheHostApplication) {
  clZVSettings settings(registry);
  EXPECT_EQ(settings.Store().MyCompanyName(), "HAL+VEX");
  EXPECT_EQ(settings.Store().MyProductName(), "Halvex");
  EXPECT_EQ(clZVSettings::ClassName(), "clZVSettings");
}

TEST_F(ZVSettingsTest, AnEmptyStoreGivesTheDefaults) {
  clZVSettings settings(registry);
  EXPECT_EQ(settings.DownloadPath(), "");
  EXPECT_EQ(settings.UploadPath(), "");
  EXPECT_FALSE(settings.DoLog());
  EXPECT_EQ(settings.FilePraefix(), "HX");
  EXPECT_EQ(settings.AblagePath(), "");
  EXPECT_FALSE(settings.SlowSync());
  EXPECT_EQ(settings.SystemName(), "");
  EXPECT_EQ(settings.TimeoutSeconds(), 60);
  EXPECT_EQ(settings.PatIdentKriterium(), 0);
  EXPECT_TRUE(process.Reports().empty());
  // Reading wrote nothing but left the empty section key behind.
  EXPECT_TRUE(registry.HasKey(kUser, kKey));
  EXPECT_TRUE(registry.ValueNames(kUser, kKey).empty());
  EXPECT_EQ(registry.CountOf(Op::kSetValue), 0u);
}

TEST_F(ZVSettingsTest, ReadsEachPropertyFromTheUsersZentavoSection) {
  clZVSettings settings(registry);
  std::vector<std::string> read;
  for (const auto& call : registry.calls) {
    if (call.op == Op::kCreateKey) {
      EXPECT_EQ(call.root, kUser);
      EXPECT_EQ(call.path, kKey);
    }
    if (call.op == Op::kQueryValue) read.push_back(call.name);
  }
  EXPECT_THAT(read, ElementsAre("DownloadPath", "UploadPath", "DoLog", "FilePraefix",
                                "AblagePath", "SlowSync", "SystemName", "TimeoutSeconds",
                                "PatIdentKriterium"));
  EXPECT_EQ(registry.OpenHandleCount(), 0u);
}

TEST_F(ZVSettingsTest, PropertyNamesInTypeLibraryOrder) {
  EXPECT_THAT(clZVSettings::PropertyNames(),
              ElementsAre("DownloadPath", "UploadPath", "DoLog", "FilePraefix", "AblagePath",
                          "SlowSync", "SystemName", "TimeoutSeconds", "PatIdentKriterium"));
  EXPECT_TRUE(clZVSettings::IsPropertyName("timeoutseconds"));
  EXPECT_FALSE(clZVSettings::IsPropertyName("Timeout"));
}

TEST_F(ZVSettingsTest, SettersWriteThroughAtOnce) {
  clZVSettings settings(registry);
  settings.SetSystemName("Praxis Nord");
  EXPECT_EQ(settings.SystemName(), "Praxis Nord");
  EXPECT_EQ(Stored("SystemName"), "Praxis Nord");
  settings.SetDoLog(true);
  EXPECT_EQ(Stored("DoLog"), "True");
  settings.SetSlowSync(false);
  EXPECT_EQ(Stored("SlowSync"), "False");
  settings.SetTimeoutSeconds(60);
  EXPECT_EQ(Stored("TimeoutSeconds"), "60");
  settings.SetPatIdentKriterium(-3);
  EXPECT_EQ(Stored("PatIdentKriterium"), "-3");
  EXPECT_EQ(registry.OpenHandleCount(), 0u);
}

TEST_F(ZVSettingsTest, AllNineRoundTripThroughASecondObject) {
  {
    clZVSettings settings(registry);
    settings.SetDownloadPath("C:\\Zentavo\\Download");
    settings.SetUploadPath("C:\\Zentavo\\Upload");
    settings.SetDoLog(true);
    settings.SetFilePraefix("HV");
    settings.SetAblagePath("\\\\server\\ablage ");
    settings.SetSlowSync(true);
    settings.SetSystemName("Praxis Süd");
    settings.SetTimeoutSeconds(-32768);
    settings.SetPatIdentKriterium(1);
  }
  clZVSettings again(registry);
  EXPECT_EQ(again.DownloadPath(), "C:\\Zentavo\\Download");
  EXPECT_EQ(again.UploadPath(), "C:\\Zentavo\\Upload");
  EXPECT_TRUE(again.DoLog());
  EXPECT_EQ(again.FilePraefix(), "HV");
  EXPECT_EQ(again.AblagePath(), "\\\\server\\ablage ");
  EXPECT_TRUE(again.SlowSync());
  EXPECT_EQ(again.SystemName(), "Praxis Süd");
  EXPECT_EQ(again.TimeoutSeconds(), -32768);
  EXPECT_EQ(again.PatIdentKriterium(), 1);
  EXPECT_EQ(Stored("TimeoutSeconds"), "-32768");
  EXPECT_TRUE(process.Reports().empty());
}

TEST_F(ZVSettingsTest, BooleansAreReadInSeveralSpellings) {
  const std::vector<std::pair<std::string, bool>> cases = {
      {"True", true}, {"true", true}, {"TRUE", true}, {"1", true}, {"-1", true},
      {"False", false}, {"false", false}, {"0", false}};
  for (const auto& [text, expected] : cases) {
    registry.PutValue(kUser, kKey, "DoLog", text);
    registry.PutValue(kUser, kKey, "SlowSync", text);
    clZVSettings settings(registry);
    EXPECT_EQ(settings.DoLog(), expected) << text;
    EXPECT_EQ(settings.SlowSync(), expected) << text;
  }
  EXPECT_TRUE(process.Reports().empty());
}

TEST_F(ZVSettingsTest, IntegersAreReadWithTheLenientConversion) {
  registry.PutValue(kUser, kKey, "TimeoutSeconds", " 90 ");
  registry.PutValue(kUser, kKey, "PatIdentKriterium", "1.5");
  clZVSettings settings(registry);
  EXPECT_EQ(settings.TimeoutSeconds(), 90);
  EXPECT_EQ(settings.PatIdentKriterium(), 2);
  EXPECT_TRUE(process.Reports().empty());
}

TEST_F(ZVSettingsTest, ABadStoredIntegerGivesTheDefaultAndAReport) {
  registry.PutValue(kUser, kKey, "TimeoutSeconds", "abc");
  registry.PutValue(kUser, kKey, "PatIdentKriterium", "99999");
  registry.PutValue(kUser, kKey, "SystemName", "kept");
  clZVSettings settings(registry);
  EXPECT_EQ(settings.TimeoutSeconds(), 60);
  EXPECT_EQ(settings.PatIdentKriterium(), 0);
  EXPECT_EQ(settings.SystemName(), "kept");
  const auto reports = process.Reports();
  ASSERT_EQ(reports.size(), 2u);
  EXPECT_THAT(reports[0], HasSubstr("13/Type mismatch / Modul=clZVSettings / Proc=Load / "
                                    "Details=TimeoutSeconds=\"abc\""));
  EXPECT_THAT(reports[1], HasSubstr("6/Overflow / Modul=clZVSettings / Proc=Load / "
                                    "Details=PatIdentKriterium=\"99999\""));
  // The bad texts stay in the store untouched.
  EXPECT_EQ(Stored("TimeoutSeconds"), "abc");
}

TEST_F(ZVSettingsTest, ABadStoredBooleanGivesTheDefaultAndAReport) {
  registry.PutValue(kUser, kKey, "DoLog", "yes");
  clZVSettings settings(registry);
  EXPECT_FALSE(settings.DoLog());
  const auto reports = process.Reports();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_THAT(reports[0], HasSubstr("13/Type mismatch / Modul=clZVSettings / Proc=Load / "
                                    "Details=DoLog=\"yes\""));
}

TEST_F(ZVSettingsTest, ReportsGoToTheActiveInterfaceLog) {
  process.ActivateLog();
  registry.PutValue(kUser, kKey, "TimeoutSeconds", "x");
  clZVSettings settings(registry);
  ASSERT_EQ(process.log.lines.size(), 1u);
  EXPECT_EQ(process.log.lines[0],
            "(MAIN) --> ERROR: 13/Type mismatch / Modul=clZVSettings / Proc=Load / "
            "Details=TimeoutSeconds=\"x\"");
}

TEST_F(ZVSettingsTest, AFailingStoreOnReadingIsReportedAndGivesDefaults) {
  registry.PutValue(kUser, kKey, "FilePraefix", "ZZ");
  registry.FailOn(Op::kCreateKey, 5);
  std::optional<clZVSettings> settings;
  EXPECT_NO_THROW(settings.emplace(registry));
  EXPECT_EQ(settings->FilePraefix(), "HX");
  EXPECT_EQ(settings->TimeoutSeconds(), 60);
  const auto reports = process.Reports();
  ASSERT_EQ(reports.size(), 9u);
  EXPECT_THAT(reports[0], HasSubstr(std::to_string(registry_error::kCreateKey) +
                                    "/RegCreateKeyEx failed (5) / Modul=clZVSettings / "
                                    "Proc=Load / Details=DownloadPath"));
  EXPECT_THAT(reports[8], HasSubstr("/ Proc=Load / Details=PatIdentKriterium"));
}

TEST_F(ZVSettingsTest, AFailingStoreOnWritingIsReportedAndTheValueKept) {
  clZVSettings settings(registry);
  registry.FailOn(Op::kSetValue, 5);
  EXPECT_NO_THROW(settings.SetDoLog(true));
  EXPECT_TRUE(settings.DoLog());
  EXPECT_FALSE(Stored("DoLog").has_value());
  const auto reports = process.Reports();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_THAT(reports[0], HasSubstr(std::to_string(registry_error::kSetValue) +
                                    "/RegSetValueEx failed (5) / Modul=clZVSettings / "
                                    "Proc=Save / Details=DoLog=\"True\""));
  EXPECT_EQ(registry.OpenHandleCount(), 0u);
}

TEST_F(ZVSettingsTest, TextAccessForTheCommandLine) {
  clZVSettings settings(registry);
  EXPECT_EQ(settings.GetAsText("DoLog"), "False");
  EXPECT_EQ(settings.GetAsText("timeoutSECONDS"), "60");
  EXPECT_EQ(settings.GetAsText("FilePraefix"), "HX");
  EXPECT_EQ(settings.GetAsText("NoSuchSetting"), "");

  std::string error;
  EXPECT_TRUE(settings.SetFromText("dolog", "TRUE", &error));
  EXPECT_TRUE(settings.DoLog());
  EXPECT_EQ(Stored("DoLog"), "True");
  EXPECT_TRUE(settings.SetFromText("SlowSync", "1", &error));
  EXPECT_TRUE(settings.SlowSync());
  EXPECT_TRUE(settings.SetFromText("SlowSync", "false", &error));
  EXPECT_FALSE(settings.SlowSync());
  EXPECT_TRUE(settings.SetFromText("TimeoutSeconds", " 120 ", &error));
  EXPECT_EQ(settings.TimeoutSeconds(), 120);
  EXPECT_EQ(Stored("TimeoutSeconds"), "120");
  EXPECT_TRUE(settings.SetFromText("PatIdentKriterium", "-32768", &error));
  EXPECT_EQ(settings.PatIdentKriterium(), -32768);
  EXPECT_TRUE(settings.SetFromText("SystemName", "  Praxis  ", &error));
  EXPECT_EQ(settings.SystemName(), "  Praxis  ");
  EXPECT_EQ(settings.GetAsText("SystemName"), "  Praxis  ");
  EXPECT_EQ(settings.GetAsText("DoLog"), "True");
}

TEST_F(ZVSettingsTest, SetFromTextRefusesUnfittingTexts) {
  clZVSettings settings(registry);
  const size_t writes = registry.CountOf(Op::kSetValue);
  std::string error;
  EXPECT_FALSE(settings.SetFromText("DoLog", "yes", &error));
  EXPECT_THAT(error, HasSubstr("DoLog"));
  error.clear();
  EXPECT_FALSE(settings.SetFromText("TimeoutSeconds", "32768", &error));
  EXPECT_THAT(error, HasSubstr("TimeoutSeconds"));
  EXPECT_FALSE(settings.SetFromText("TimeoutSeconds", "12.5", &error));
  EXPECT_FALSE(settings.SetFromText("TimeoutSeconds", "", &error));
  EXPECT_FALSE(settings.SetFromText("TimeoutSeconds", "1e3", &error));
  EXPECT_FALSE(settings.SetFromText("PatIdentKriterium", "-", &error));
  error.clear();
  EXPECT_FALSE(settings.SetFromText("Nonsense", "1", &error));
  EXPECT_THAT(error, HasSubstr("Nonsense"));
  EXPECT_FALSE(settings.SetFromText("DoLog", "maybe"));  // no error text wanted
  EXPECT_EQ(settings.TimeoutSeconds(), 60);
  EXPECT_FALSE(settings.DoLog());
  EXPECT_EQ(registry.CountOf(Op::kSetValue), writes);
}

TEST_F(ZVSettingsTest, LoadReadsTheStoreAgain) {
  clZVSettings settings(registry);
  registry.PutValue(kUser, kKey, "UploadPath", "D:\\up");
  EXPECT_EQ(settings.UploadPath(), "");
  settings.Load();
  EXPECT_EQ(settings.UploadPath(), "D:\\up");
}

TEST_F(ZVSettingsTest, SetFromTextRefusesAPrefixThatIsNoPlainFileNamePart) {
  clZVSettings settings(registry);
  std::string error;
  EXPECT_FALSE(settings.SetFromText("FilePraefix", "../../x_", &error));
  EXPECT_THAT(error, HasSubstr("FilePraefix becomes part of file names"));
  EXPECT_EQ(settings.FilePraefix(), "HX");
  EXPECT_FALSE(Stored("FilePraefix").has_value());
  EXPECT_TRUE(settings.SetFromText("FilePraefix", "Praxis-", &error));
  EXPECT_EQ(Stored("FilePraefix"), "Praxis-");
}

}  // namespace
}  // namespace kdzv
