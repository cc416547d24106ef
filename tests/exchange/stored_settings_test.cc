// Creating the interface object over whatever the settings store holds: a
// hand-edited value of the wrong type takes its default, is reported once,
// and the exchange runs; the report never makes the object read its
// settings a second time.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

#include "exchange/exchange_harness.h"

namespace kdzv {
namespace {

using test::ExchangeHarness;
using ::testing::HasSubstr;

constexpr RegistryRoot kUser = RegistryRoot::kCurrentUser;
constexpr const char* kKey = "Software\\HAL+VEX\\Halvex\\Zentavo";

// Every bad form a hand-edited value may take.
const std::vector<std::string> kBadForms = {
    "",                                   // empty
    "abc",                                // letters
    "ja",                                 // a word that is no Boolean
    "40000",                              // out of the 16-bit range
    "-32769",                             // just below it
    "99999999999999999999999999999999",   // beyond any integer type
    "1e400",                              // beyond any floating-point type
    std::string("\x01\xff\xfe\x7f junk\x1b", 10),  // binary junk
};

int CountOf(const std::string& text, const std::string& part) {
  int count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

// The interface object of a harness, created over the store as the test
// has filled it (the harness's own Interface() sets the folders afterwards).
class StoredSettingsTest : public ::testing::TestWithParam<std::tuple<std::string, std::string>> {
 protected:
  ExchangeHarness h;
};

TEST_P(StoredSettingsTest, ABadValueTakesItsDefaultIsReportedOnceAndTheObjectStands) {
  const auto& [name, text] = GetParam();
  // Logging is on before the bad value is read, unless DoLog is the bad one.
  if (name != "DoLog") h.registry.PutValue(kUser, kKey, "DoLog", "True");
  h.registry.PutValue(kUser, kKey, name, text);

  kdZVInterface& zv = h.Interface();
  // A text beyond printable ASCII reaches the log in the system's encoding:
  // the details are then compared up to the text.
  const bool printable = std::all_of(text.begin(), text.end(), [](char c) {
    return static_cast<unsigned char>(c) >= 0x20 && static_cast<unsigned char>(c) < 0x7f;
  });
  const std::string details = "Details=" + name + "=\"" + (printable ? text + "\"" : "");
  const std::string log = h.LogText();

  const bool is_text = name == "DownloadPath" || name == "UploadPath" || name == "FilePraefix" ||
                       name == "AblagePath" || name == "SystemName";
  const bool is_integer = name == "TimeoutSeconds" || name == "PatIdentKriterium";
  if (is_text) {
    // Any text is a text: taken as it is, nothing reported.
    EXPECT_EQ(CountOf(log, "Modul=clZVSettings"), 0) << log;
    return;
  }
  if (name == "DoLog") {
    // Until DoLog is known to be on, the log is off: the report is not
    // written, and it is no message box either.
    EXPECT_EQ(log, "");
    EXPECT_TRUE(h.ui.boxes.empty());
    return;
  }
  // A Boolean or an integer that is not of its type: one report, logged.
  EXPECT_EQ(CountOf(log, "Modul=clZVSettings / Proc=Load / " + details), 1) << log;
  EXPECT_EQ(CountOf(log, "(MAIN) --> ERROR: "), 1) << log;
  EXPECT_TRUE(h.ui.boxes.empty());
  if (is_integer) {
    const int16_t fallback = name == "TimeoutSeconds" ? 60 : 0;
    const int16_t read = name == "TimeoutSeconds" ? zv.Settings()->TimeoutSeconds()
                                                  : zv.Settings()->PatIdentKriterium();
    // The harness changed no integer: the default stands.
    EXPECT_EQ(read, fallback);
  } else {
    EXPECT_FALSE(zv.Settings()->SlowSync());
  }
}

std::vector<std::tuple<std::string, std::string>> EveryValueInEveryBadForm() {
  std::vector<std::tuple<std::string, std::string>> cases;
  for (const char* name : {"DownloadPath", "UploadPath", "DoLog", "FilePraefix", "AblagePath",
                           "SlowSync", "SystemName", "TimeoutSeconds", "PatIdentKriterium"}) {
    for (const std::string& text : kBadForms) cases.emplace_back(name, text);
  }
  return cases;
}

INSTANTIATE_TEST_SUITE_P(NineValues, StoredSettingsTest,
                         ::testing::ValuesIn(EveryValueInEveryBadForm()),
                         [](const auto& param_info) {
                           return std::get<0>(param_info.param) + "_" + std::to_string(param_info.index);
                         });

TEST(StoredSettingsExchangeTest, AFractionIsNoBadValue) {
  ExchangeHarness h;
  h.registry.PutValue(kUser, kKey, "DoLog", "True");
  h.registry.PutValue(kUser, kKey, "TimeoutSeconds", "1.5");
  h.registry.PutValue(kUser, kKey, "PatIdentKriterium", "2.5");
  kdZVInterface& zv = h.Interface();
  EXPECT_EQ(zv.Settings()->TimeoutSeconds(), 2);
  EXPECT_EQ(zv.Settings()->PatIdentKriterium(), 2);  // halves go to the even neighbour
  EXPECT_EQ(CountOf(h.LogText(), "ERROR"), 0);
}

TEST(StoredSettingsExchangeTest, EveryValueBadAtOnceStillRunsAWholeExchange) {
  ExchangeHarness h;
  for (const char* name : {"DoLog", "SlowSync", "TimeoutSeconds", "PatIdentKriterium"}) {
    h.registry.PutValue(kUser, kKey, name, "ja");
  }
  const std::string end =
      "<Status><Cmd>SyncHdr</Cmd><CmdID>1</CmdID><CmdRef>0</CmdRef><MsgRef>1</MsgRef>"
      "<Data>Session End</Data><Text/></Status>";
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, end)}}), ZV_Success);
  // The opening message asked for a normal synchronisation: SlowSync fell
  // back to off.
  EXPECT_THAT(test::ReadFileBytes(h.Up("HX1_1.xml")), HasSubstr("Session Start"));
}

TEST(StoredSettingsExchangeTest, SettingsReadAgainAfterTheHostDroppedThemReportOnce) {
  ExchangeHarness h;
  kdZVInterface& zv = h.Interface();  // DoLog on, through the harness
  h.registry.PutValue(kUser, kKey, "SlowSync", "vielleicht");
  zv.SetSettings(nullptr);
  // The next use makes new settings; their report is logged through them.
  EXPECT_FALSE(zv.Settings()->SlowSync());
  EXPECT_EQ(CountOf(h.LogText(),
                    "Proc=Load / Details=SlowSync=\"vielleicht\""),
            1);
}

}  // namespace
}  // namespace kdzv
