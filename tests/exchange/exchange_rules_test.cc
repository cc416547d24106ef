// Exchanges at the edges of their rules: a depot that already holds a name,
// numbers at the end of their range, dates far outside the calendar, a host
// that skips everything, calls back in or lets go of the object, and the
// branches that an ordinary exchange never takes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <limits>

#include "exchange/exchange_harness.h"
#include "support/file_holder.h"

namespace kdzv {
namespace {

using test::ExchangeHarness;
using ::testing::HasSubstr;
using ::testing::Not;
using Names = std::vector<std::string>;
namespace fs = std::filesystem;

const std::string& kAdd = test::kAgentAdd;
const std::string kCalendar =
    "<Add><CmdID>3</CmdID><Calendar><Source>CAL-1</Source><Title>Dr. Muster</Title></Calendar>"
    "</Add>";
const std::string& kSessionEnd = test::kAgentSessionEnd;
const std::string kOpeningTimes = "<Get><CmdID>2</CmdID><OpeningTime/></Get>";

int CountOf(const std::string& text, const std::string& part) {
  int count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

// --- The depot ---

TEST(ExchangeRulesTest, ADepotThatHoldsTheNameAlreadyKeepsBothFiles) {
  ExchangeHarness h;
  test::WriteFileBytes(h.Depot("HX1_2.xml"), "an older exchange's file");
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kAdd)}}),
            ZV_Error_Cancel);
  // The answer was processed and answered; the move was refused, so both
  // files are there as they were.
  EXPECT_TRUE(fs::exists(h.Up("HX1_3.xml")));
  EXPECT_EQ(test::ReadFileBytes(h.Depot("HX1_2.xml")), "an older exchange's file");
  EXPECT_THAT(test::ReadFileBytes(h.Down("HX1_2.xml")), HasSubstr("<Source>ZV-1</Source>"));
  const std::string log = h.LogText();
  EXPECT_THAT(log, HasSubstr("(MAIN) --> ERROR: 58/File already exists / Modul=kdTCInterface / "
                             "Proc=mSyncForm_OnNewFile / Details=File=" +
                             h.Down("HX1_2.xml")));
  // The next tick sees it again with the next number expected: not taken,
  // the move refused again, and the exchange given up.
  EXPECT_THAT(log, HasSubstr("Erwartete Datei: 'HX1_4.xml'"));
  EXPECT_EQ(CountOf(log, "58/File already exists"), 2);
}

TEST(ExchangeRulesTest, ClearingLeftOversIntoAMissingDepotReportsEachFile) {
  ExchangeHarness h;
  h.Settings()->SetAblagePath(h.dir.File("no depot"));
  test::WriteFileBytes(h.Down("old.xml"), "x");
  EXPECT_EQ(h.Run({}), ZV_Error_PathNotEmpty);
  const std::string log = h.LogText();
  const size_t report = log.find("/ Modul=kdTCInterface / Proc=TryMoveFilesToDepot / "
                                 "Details=File=old.xml");
  ASSERT_NE(report, std::string::npos) << log;
  // Reported before the box's text is logged.
  EXPECT_LT(report, log.find("Achtung: Es konnten nicht alle Dateien verschoben werden."));
  EXPECT_THAT(log, HasSubstr("76/Path not found"));
  EXPECT_EQ(h.ui.boxes.size(), 1u);
  EXPECT_EQ(test::ReadFileBytes(h.Down("old.xml")), "x");
}

TEST(ExchangeRulesTest, AnEmptyDepotSettingIsNeverTurnedIntoAPath) {
  ExchangeHarness h;
  h.Settings()->SetAblagePath("");
  test::WriteFileBytes(h.Down("old.xml"), "x");
  const fs::path cwd = fs::current_path();
  fs::current_path(h.dir.path());
  const enmZVRetValues result = h.Run({});
  fs::current_path(cwd);
  EXPECT_EQ(result, ZV_Error_PathNotEmpty);
  EXPECT_THAT(h.LogText(),
              HasSubstr("76/Path not found / Modul=kdTCInterface / Proc=TryMoveFilesToDepot / "
                        "Details=File=old.xml"));
  // Nothing was copied into the working folder.
  EXPECT_FALSE(fs::exists(h.dir.File("old.xml")));
  EXPECT_EQ(test::ReadFileBytes(h.Down("old.xml")), "x");
}

TEST(ExchangeRulesTest, SubFoldersOfTheExchangeFoldersAreNeitherCountedNorMoved) {
  ExchangeHarness h;
  fs::create_directory(h.Down("sub"));
  fs::create_directory(h.Up("sub"));
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kSessionEnd)}}),
            ZV_Success);
  EXPECT_TRUE(fs::is_directory(h.Down("sub")));
  EXPECT_TRUE(fs::is_directory(h.Up("sub")));
  EXPECT_FALSE(fs::exists(h.Depot("sub")));
  EXPECT_THAT(h.LogText(), Not(HasSubstr("ist nicht leer")));
}

// --- Names from the settings ---

TEST(ExchangeRulesTest, APrefixThatIsNoPlainFileNamePartIsRefusedBeforeAnythingIsWritten) {
  for (const std::string& prefix : std::vector<std::string>{"../../x_", "..", "a/b", "a\\b", "C:x", "x|y", "x\ny",
                                   std::string(101, 'p')}) {
    ExchangeHarness h;
    h.Settings()->SetFilePraefix(prefix);
    test::WriteFileBytes(h.Down("left-over.xml"), "x");
    EXPECT_EQ(h.Run({}), ZV_Error_General) << prefix;
    ASSERT_EQ(h.ui.boxes.size(), 1u) << prefix;
    EXPECT_THAT(h.ui.boxes[0].text,
                HasSubstr("Fehler: Das eingestellte Session-Präfix \"" + prefix +
                          "\" kann nicht Teil eines Dateinamens sein."));
    // Nothing written, moved or numbered.
    EXPECT_TRUE(test::FolderEntries(h.up).empty()) << prefix;
    EXPECT_EQ(test::FolderEntries(h.down), Names{"left-over.xml"}) << prefix;
    EXPECT_EQ(test::FolderEntries(h.dir.path()).size(), 4u) << prefix;  // up, down, depot, log
    EXPECT_FALSE(h.profile.Value("kdZentavo.cfg", "SESSION", "LastSessionID").has_value());
  }
}

TEST(ExchangeRulesTest, APlainPrefixWithBlanksAndDotsIsTaken) {
  ExchangeHarness h;
  h.Settings()->SetFilePraefix("Praxis Nord.");
  EXPECT_EQ(h.Run({{"Praxis Nord.1_1.xml", "Praxis Nord.1_2.xml",
                    ExchangeHarness::Answer(1, 2, kSessionEnd)}}),
            ZV_Success);
}

// --- Files that another process still writes ---

TEST(ExchangeRulesTest, AForeignFileStillBeingWrittenIsLeftAndTheWatchGoesOn) {
  ExchangeHarness h;
  std::unique_ptr<test::FileHolder> holder;
  h.on_pass = [&](ExchangeHarness& harness) {
    if (harness.passes == 1) {
      // The agent writes its answer under a name of its own, holding it.
      test::WriteFileBytes(harness.Down("HX1_2.xml.part"), "<half");
      holder = std::make_unique<test::FileHolder>(harness.Down("HX1_2.xml.part"),
                                                  test::FileHolder::Lock::kExclusive);
      ASSERT_TRUE(holder->holding());
    }
    if (harness.passes == 4) {
      // Finished: let go and renamed into place.
      holder.reset();
      test::WriteFileBytes(harness.Down("HX1_2.xml.part"),
                           ExchangeHarness::Answer(1, 2, kSessionEnd));
      fs::rename(harness.Down("HX1_2.xml.part"), harness.Down("HX1_2.xml"));
    }
  };
  EXPECT_EQ(h.Run({}), ZV_Success);
  const std::string log = h.LogText();
  EXPECT_THAT(log, HasSubstr("Die Datei kann nicht exklusiv geöffnet werden und bleibt liegen: " +
                             h.Down("HX1_2.xml.part")));
  // The held file was never moved while it was written.
  EXPECT_FALSE(fs::exists(h.Depot("HX1_2.xml.part")));
  EXPECT_TRUE(fs::exists(h.Depot("HX1_2.xml")));
}

TEST(ExchangeRulesTest, ALeftOverThatAnotherProcessHoldsStaysWhereItIs) {
  ExchangeHarness h;
  test::WriteFileBytes(h.Down("HX7_2.xml.part"), "<half");
  test::WriteFileBytes(h.Down("old.xml"), "x");
  test::FileHolder holder(h.Down("HX7_2.xml.part"), test::FileHolder::Lock::kExclusive);
  ASSERT_TRUE(holder.holding());
  EXPECT_EQ(h.Run({}), ZV_Error_PathNotEmpty);
  const std::string log = h.LogText();
  EXPECT_THAT(log, HasSubstr("Die Datei kann nicht exklusiv geöffnet werden und bleibt liegen: " +
                             h.Down("HX7_2.xml.part")));
  // Never pulled from under its writer: neither moved nor copied.
  EXPECT_FALSE(fs::exists(h.Depot("HX7_2.xml.part")));
  holder.Release();
  EXPECT_EQ(test::ReadFileBytes(h.Down("HX7_2.xml.part")), "<half");
  // The other left-over was taken; the held one counts as not moved.
  EXPECT_EQ(test::ReadFileBytes(h.Depot("old.xml")), "x");
  EXPECT_THAT(log, HasSubstr("Achtung: Es konnten nicht alle Dateien verschoben werden."));
  ASSERT_EQ(h.ui.boxes.size(), 1u);
  // Nothing was opened.
  EXPECT_TRUE(test::FolderEntries(h.up).empty());
}

TEST(ExchangeRulesTest, AReadOnlyLeftOverIsStillTaken) {
  ExchangeHarness h;
  test::WriteFileBytes(h.Down("old.xml"), "x");
  fs::permissions(h.Down("old.xml"),
                  fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                  fs::perm_options::remove);
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kSessionEnd)}}),
            ZV_Success);
  EXPECT_EQ(test::ReadFileBytes(h.Depot("old.xml")), "x");
  EXPECT_FALSE(fs::exists(h.Down("old.xml")));
  EXPECT_THAT(h.LogText(), Not(HasSubstr("bleibt liegen")));
}

// --- Numbers at the end of their range ---

// Another user's host on the same PC opens its exchanges from the same
// configuration file: the number is read, one added and saved under the
// file's lock, and the lock is given back before the opening message is
// written and the host hears of the exchange.
TEST(ExchangeRulesTest, TheSessionNumberIsTakenUnderTheConfigurationFilesLock) {
  ExchangeHarness h;
  h.profile.WriteString("SESSION", "LastSessionID", "6", "kdZentavo.cfg");
  h.Interface();
  h.profile.journal.clear();
  h.host.on_sync_log = [&h](const std::string& line) {
    const Names& journal = h.profile.journal;
    EXPECT_TRUE(journal.empty() || journal.back() == "Unlock kdZentavo.cfg") << line;
  };
  EXPECT_EQ(h.Run({{"HX7_1.xml", "HX7_2.xml", ExchangeHarness::Answer(7, 2, kSessionEnd)}}),
            ZV_Success);
  EXPECT_EQ(h.profile.journal,
            (Names{"Lock kdZentavo.cfg", "GetString SESSION/LastSessionID",
                   "WriteString SESSION/LastSessionID=7", "Flush", "Unlock kdZentavo.cfg"}));
}

// A lock that cannot be had opens no exchange: no number, no message.
TEST(ExchangeRulesTest, WithoutTheLockNoExchangeIsOpened) {
  ExchangeHarness h;
  h.profile.WriteString("SESSION", "LastSessionID", "6", "kdZentavo.cfg");
  h.profile.fail_lock = ErrorInfo{70, "Permission denied", "Lock"};
  EXPECT_EQ(h.Run({}), ZV_Error_Cancel);
  EXPECT_TRUE(test::FolderEntries(h.up).empty());
  EXPECT_EQ(h.profile.Value("kdZentavo.cfg", "SESSION", "LastSessionID"), "6");
  EXPECT_THAT(h.LogText(),
              HasSubstr("(MAIN) --> ERROR: 70/Permission denied / Modul=kdTCInterface / "
                        "Proc=StartNewSession / Details="));
}

TEST(ExchangeRulesTest, TheLastSessionNumberOverflowsAndNothingIsOpened) {
  ExchangeHarness h;
  h.profile.WriteString("SESSION", "LastSessionID", "2147483647", "kdZentavo.cfg");
  EXPECT_EQ(h.Run({}), ZV_Error_Cancel);
  EXPECT_TRUE(test::FolderEntries(h.up).empty());
  EXPECT_EQ(h.profile.Value("kdZentavo.cfg", "SESSION", "LastSessionID"), "2147483647");
  EXPECT_THAT(h.LogText(),
              HasSubstr("(MAIN) --> ERROR: 6/Overflow / Modul=kdTCInterface / "
                        "Proc=StartNewSession / Details="));
}

TEST(ExchangeRulesTest, TheSessionNumberBeforeTheLastOneStillWorks) {
  ExchangeHarness h;
  h.profile.WriteString("SESSION", "LastSessionID", "2147483646", "kdZentavo.cfg");
  EXPECT_EQ(h.Run({{"HX2147483647_1.xml", "HX2147483647_2.xml",
                    ExchangeHarness::Answer(2147483647, 2, kSessionEnd)}}),
            ZV_Success);
  EXPECT_EQ(h.profile.Value("kdZentavo.cfg", "SESSION", "LastSessionID"), "2147483647");
}

TEST(ExchangeRulesTest, AHostDateFarOutsideTheCalendarIsAnOverflow) {
  for (const double serial : {1e30, -1e30, std::numeric_limits<double>::quiet_NaN(), 2958466.0}) {
    ExchangeHarness h;
    h.host.opening_times = [serial](kdZVBelegungen& b) {
      b.Add(1, 2, DateTime::FromSerial(serial), "");
    };
    EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kOpeningTimes)}}),
              ZV_Error_Cancel)
        << serial;
    EXPECT_THAT(h.LogText(),
                HasSubstr("(MAIN) --> ERROR: 6/Overflow / Modul=kdTCInterface / "
                          "Proc=HandleDownFile"))
        << serial;
    // No answer is written.
    EXPECT_FALSE(fs::exists(h.Up("HX1_3.xml"))) << serial;
  }
}

// --- What the host answers ---

TEST(ExchangeRulesTest, AHostThatIgnoresEverythingGetsTheEmptyAnswerRule) {
  ExchangeHarness h;
  h.host.ignore_all = true;
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kCalendar + kAdd)}}),
            ZV_Success);
  EXPECT_EQ(h.host.events, (Names{"OnCalendar CAL-1", "OnTermin Add ZV-1"}));
  const std::string answer = test::ReadFileBytes(h.Up("HX1_3.xml"));
  // No status, map or follow-up for either: only the session's end.
  EXPECT_THAT(answer, HasSubstr("<Status><Cmd>SyncHdr</Cmd><CmdID>1</CmdID><CmdRef>0</CmdRef>"
                                "<MsgRef>2</MsgRef><Data>200</Data><Text>Session End</Text>"
                                "</Status>"));
  EXPECT_EQ(CountOf(answer, "<Status>"), 1);
  EXPECT_THAT(answer, Not(HasSubstr("<Map>")));
  EXPECT_THAT(answer, Not(HasSubstr("<Replace>")));
}

TEST(ExchangeRulesTest, AHostIdThatIsNoNumberEndsTheProcessingWithoutAnAnswer) {
  ExchangeHarness h;
  h.host.termin_id = "A-17";
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kAdd)}}),
            ZV_Error_Cancel);
  EXPECT_THAT(h.LogText(),
              HasSubstr("(MAIN) --> ERROR: 13/Type mismatch / Modul=kdTCInterface / "
                        "Proc=HandleDownFile"));
  EXPECT_FALSE(fs::exists(h.Up("HX1_3.xml")));
  // The agent's message is in the depot all the same.
  EXPECT_TRUE(fs::exists(h.Depot("HX1_2.xml")));
}

// --- Branches an ordinary exchange never takes ---

TEST(ExchangeRulesTest, ATimeOutEndsTheExchangeWithItsResultAndText) {
  ExchangeHarness h;
  h.on_pass = [](ExchangeHarness& harness) {
    if (harness.passes != 2) return;
    // The time-out timer is the newest window's second timer; given an
    // interval, it fires.
    test::FakeTimer& timeout = *harness.window.timers.back();
    timeout.SetInterval(1000);
    timeout.SetEnabled(true);
    EXPECT_TRUE(timeout.Tick());
  };
  EXPECT_EQ(h.Run({}), ZV_Error_TimeOut);
  EXPECT_THAT(h.host.sync_log, ::testing::Contains("Timeout."));
  EXPECT_EQ(h.host.sync_log.back(),
            "Synchronisation aufgrund einer Zeitüberschreitung abgebrochen.");
  EXPECT_THAT(h.LogText(), HasSubstr("(StartSync) -> Rückgabewert 2"));
}

TEST(ExchangeRulesTest, AWatchThatCannotStartCancelsTheExchange) {
  ExchangeHarness h;
  h.host.on_sync_log = [&h](const std::string& line) {
    // The download folder vanishes while the opening message is written.
    if (line == "Session-File wird geschrieben...") fs::remove(h.down);
  };
  EXPECT_EQ(h.Run({}), ZV_Error_Cancel);
  EXPECT_THAT(h.host.sync_log, ::testing::Contains(
                                   "Fehler beim Start der Schnittstelle (StartWatch)."));
  // The opening message was written and its number used up.
  EXPECT_TRUE(fs::exists(h.Up("HX1_1.xml")));
  EXPECT_EQ(h.profile.Value("kdZentavo.cfg", "SESSION", "LastSessionID"), "1");
}

// --- Re-entry and lifetime ---

TEST(ExchangeRulesTest, StartSyncCalledFromAnEventIsRefusedAndTheExchangeGoesOn) {
  ExchangeHarness h;
  enmZVRetValues nested = ZV_Success;
  std::string nested_error;
  h.host.on_event = [&](const std::string&) {
    nested = h.Interface().StartSync(0, nested_error);
  };
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kAdd)},
                   {"HX1_3.xml", "HX1_4.xml", ExchangeHarness::Answer(1, 4, kSessionEnd)}}),
            ZV_Success);
  EXPECT_EQ(nested, ZV_Error_General);
  EXPECT_NE(nested_error, "");
  // The running exchange was left alone: one session, its files as usual.
  EXPECT_EQ(h.profile.Value("kdZentavo.cfg", "SESSION", "LastSessionID"), "1");
  EXPECT_TRUE(fs::exists(h.Up("HX1_3.xml")));
  EXPECT_EQ(test::FolderEntries(h.depot).size(), 2u);
}

TEST(ExchangeRulesTest, AHandlerThatRunsAMessageLoopDoesNotHandleTheFileTwice) {
  ExchangeHarness h;
  int nested_ticks = 0;
  h.host.on_event = [&](const std::string&) {
    // A modal box of the host: timers may fire meanwhile; the watch timer is
    // off while its file is handled.
    for (int i = 0; i < 3; ++i) {
      test::FakeTimer& watch = *h.window.timers[h.window.timers.size() - 2];
      if (watch.Tick()) ++nested_ticks;
    }
  };
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kAdd)},
                   {"HX1_3.xml", "HX1_4.xml", ExchangeHarness::Answer(1, 4, kSessionEnd)}}),
            ZV_Success);
  EXPECT_EQ(nested_ticks, 0);
  EXPECT_EQ(h.host.events, Names{"OnTermin Add ZV-1"});
}

TEST(ExchangeRulesTest, TheHostMayDropItsLastReferenceInsideAnEvent) {
  ExchangeHarness h;
  std::weak_ptr<kdZVInterface> object = h.Reference();
  h.Interface();
  object = h.Reference();
  h.host.on_event = [&](const std::string&) { h.Reference().reset(); };
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kAdd)},
                   {"HX1_3.xml", "HX1_4.xml", ExchangeHarness::Answer(1, 4, kSessionEnd)}}),
            ZV_Success);
  // Freed only once its own call had returned.
  EXPECT_TRUE(object.expired());
  EXPECT_TRUE(fs::exists(h.Up("HX1_3.xml")));
}

TEST(ExchangeRulesTest, TheHostMayReplaceTheSettingsInsideAnEvent) {
  ExchangeHarness h;
  h.host.on_event = [&](const std::string&) {
    auto other = std::make_shared<clZVSettings>(h.registry);
    h.Interface().SetSettings(other);
  };
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kAdd)}}, 8),
            ZV_Error_Cancel);
  // The answer to the file in hand is still written; the folders (here the
  // same in both settings objects) are read from the settings in force at
  // each step, so the file is put into the depot of the new settings.
  EXPECT_TRUE(fs::exists(h.Up("HX1_3.xml")));
  EXPECT_TRUE(fs::exists(h.Depot("HX1_2.xml")));
}

TEST(ExchangeRulesTest, APrefixChangedInsideAnEventDoesNotMoveTheSessionsFileNames) {
  for (const std::string prefix : {"ZZ", "../x", ""}) {
    ExchangeHarness h;
    h.host.on_event = [&](const std::string&) { h.Settings()->SetFilePraefix(prefix); };
    EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kAdd)},
                     {"HX1_3.xml", "HX1_4.xml", ExchangeHarness::Answer(1, 4, kSessionEnd)}}),
              ZV_Success)
        << prefix;
    // Every file of the session kept the stem it was opened with, and the
    // agent's next answer was taken.
    EXPECT_TRUE(fs::exists(h.Up("HX1_3.xml"))) << prefix;
    EXPECT_EQ(test::FolderEntries(h.depot), (Names{"HX1_2.xml", "HX1_4.xml"})) << prefix;
    EXPECT_FALSE(fs::exists(h.dir.File("x1_3.xml"))) << prefix;
    EXPECT_THAT(h.LogText(), Not(HasSubstr("gehört nicht zu aktuellen Session"))) << prefix;
  }
}

TEST(ExchangeRulesTest, AnotherObjectsStartSyncIsRefusedWhileAnExchangeRuns) {
  ExchangeHarness h;
  ExchangeHarness other;
  other.Interface();
  enmZVRetValues second = ZV_Success;
  std::string second_error;
  h.host.on_event = [&](const std::string&) {
    second = other.Interface().StartSync(0, second_error);
  };
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kAdd)},
                   {"HX1_3.xml", "HX1_4.xml", ExchangeHarness::Answer(1, 4, kSessionEnd)}}),
            ZV_Success);
  EXPECT_EQ(second, ZV_Error_General);
  EXPECT_EQ(second_error,
            "Es läuft bereits eine Synchronisation: StartSync wurde während dieser erneut "
            "aufgerufen und abgewiesen.");
  // The second object opened nothing; the first went on as usual.
  EXPECT_TRUE(test::FolderEntries(other.up).empty());
  EXPECT_FALSE(other.profile.Value("kdZentavo.cfg", "SESSION", "LastSessionID"));
  EXPECT_EQ(test::FolderEntries(h.depot), (Names{"HX1_2.xml", "HX1_4.xml"}));
  // Once the first has ended, the second may run.
  EXPECT_EQ(other.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kSessionEnd)}}),
            ZV_Success);
}

// --- Several interface objects ---

TEST(ExchangeRulesTest, TheNewestInterfaceObjectStaysActiveWhenAnOlderOneGoes) {
  ExchangeHarness older;
  ExchangeHarness newer;
  older.Interface();
  newer.Interface();
  EXPECT_EQ(process::ActiveInterface(), newer.Reference().get());
  older.Reference().reset();
  EXPECT_EQ(process::ActiveInterface(), newer.Reference().get());
  newer.Reference().reset();
  EXPECT_EQ(process::ActiveInterface(), nullptr);
}

}  // namespace
}  // namespace kdzv
