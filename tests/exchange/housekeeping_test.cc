// Housekeeping: the depot's old messages and the log's size, with an
// in-memory file system and a clock standing still, and in whole exchanges
// on real folders.
#include "exchange/housekeeping.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "exchange/exchange_harness.h"
#include "exchange/log_writer.h"
#include "mapping/housekeeping_rules.h"
#include "support/fake_profile_file.h"
#include "support/fakes.h"
#include "support/memory_file_system.h"

#ifndef _WIN32
#include <unistd.h>
#endif

namespace kdzv {
namespace {

using test::ExchangeHarness;
using test::MemoryFileSystem;

const DateTime kNow = DateTime::FromFields({2024, 7, 1, 12, 0, 0});

TEST(IsOwnMessageName, TakesPrefixNumberUnderscoreNumberXmlInAnyCase) {
  EXPECT_TRUE(IsOwnMessageName("HX1_2.xml", "HX"));
  EXPECT_TRUE(IsOwnMessageName("hx12_345.XML", "HX"));
  EXPECT_TRUE(IsOwnMessageName("Praxis-ä7_1.Xml", "PRAXIS-Ä"));
  EXPECT_TRUE(IsOwnMessageName("7_1.xml", ""));
  EXPECT_FALSE(IsOwnMessageName("XX99_4.xml", "HX"));
  EXPECT_FALSE(IsOwnMessageName("HX1_2.xml.bak", "HX"));
  EXPECT_FALSE(IsOwnMessageName("HX1_2.txt", "HX"));
  EXPECT_FALSE(IsOwnMessageName("HX_2.xml", "HX"));
  EXPECT_FALSE(IsOwnMessageName("HX1_.xml", "HX"));
  EXPECT_FALSE(IsOwnMessageName("HX1-2.xml", "HX"));
  EXPECT_FALSE(IsOwnMessageName("HX1_2_3.xml", "HX"));
  EXPECT_FALSE(IsOwnMessageName("HXa1_2.xml", "HX"));
  EXPECT_FALSE(IsOwnMessageName("HX", "HX"));
  EXPECT_FALSE(IsOwnMessageName("", "HX"));
  EXPECT_FALSE(IsOwnMessageName("H", "HX"));
}

TEST(HousekeepingNumber, ReadsLeadingDigitsAndCaps) {
  EXPECT_EQ(HousekeepingNumber("30", kMaxDepotKeepDays), 30);
  EXPECT_EQ(HousekeepingNumber("  7 Tage", kMaxDepotKeepDays), 7);
  EXPECT_EQ(HousekeepingNumber("", kMaxDepotKeepDays), 0);
  EXPECT_EQ(HousekeepingNumber("-5", kMaxDepotKeepDays), 0);
  EXPECT_EQ(HousekeepingNumber("abc", kMaxDepotKeepDays), 0);
  EXPECT_EQ(HousekeepingNumber("99999999999999999999", kMaxDepotKeepDays), kMaxDepotKeepDays);
}

TEST(ReadHousekeepingRules, DefaultsAreOffAndValuesAreRead) {
  test::FakeProfileFile profile;
  HousekeepingRules rules = ReadHousekeepingRules(profile, "kdZentavo.cfg");
  EXPECT_EQ(rules.depot_keep_days, 0);
  EXPECT_EQ(rules.log_max_kb, 0);
  profile.Set("kdZentavo.cfg", "HOUSEKEEPING", "DepotKeepDays", "90");
  profile.Set("kdZentavo.cfg", "housekeeping", "logmaxkb", "2048");
  rules = ReadHousekeepingRules(profile, "kdZentavo.cfg");
  EXPECT_EQ(rules.depot_keep_days, 90);
  EXPECT_EQ(rules.log_max_kb, 2048);
}

TEST(ReadHousekeepingRules, AFileThatCannotBeReadKeepsHousekeepingOff) {
  test::ScopedProcess process;
  process.ActivateLog();
  test::FakeProfileFile profile;
  profile.Set("kdZentavo.cfg", "HOUSEKEEPING", "DepotKeepDays", "90");
  profile.fail_reads = ErrorInfo{70, "Permission denied", "FakeProfileFile"};
  const HousekeepingRules rules = ReadHousekeepingRules(profile, "kdZentavo.cfg");
  EXPECT_EQ(rules.depot_keep_days, 0);
  EXPECT_EQ(rules.log_max_kb, 0);
  ASSERT_EQ(process.log.lines.size(), 1u);
  EXPECT_NE(process.log.lines[0].find("Proc=ReadHousekeepingRules"), std::string::npos);
}

// A depot in memory: own messages and everything else, old and new.
class DepotCleaningTest : public ::testing::Test {
 protected:
  DepotCleaningTest() { fs.folders = {"/Ablage", "/Ablage/alt"}; }
  void File(const std::string& name, int days_old) {
    const std::string path = "/Ablage/" + name;
    fs.files[path] = "<SyncML/>";
    fs.times[path] = DateTime::FromSerial(kNow.serial() - days_old);
  }
  std::vector<std::string> Left() {
    std::vector<std::string> names;
    for (const FolderEntry& entry : fs.ListEntries("/Ablage")) names.push_back(entry.name);
    return names;
  }
  MemoryFileSystem fs;
};

TEST_F(DepotCleaningTest, DeletesOnlyOwnMessagesOlderThanTheDays) {
  File("HX1_2.xml", 31);
  File("hx1_4.XML", 400);
  File("HX9_2.xml", 29);          // young enough
  File("XX99_4.xml", 400);        // another prefix: the agent's stray file
  File("HX1_2.xml.bak", 400);     // no message name
  File("Liesmich.txt", 400);
  File("alt/HX1_6.xml", 400);     // in a sub-folder: never entered
  fs.links.insert("/Ablage/HX3_2.xml");  // a link with an own name
  fs.times["/Ablage/HX3_2.xml"] = DateTime::FromSerial(kNow.serial() - 400);
  const DepotCleaning cleaning = CleanDepot(fs, "/Ablage", "HX", kNow, 30);
  EXPECT_EQ(cleaning.deleted, 2);
  EXPECT_EQ(cleaning.failed, 0);
  EXPECT_EQ(Left(), (std::vector<std::string>{"HX1_2.xml.bak", "HX3_2.xml", "HX9_2.xml",
                                              "Liesmich.txt", "XX99_4.xml", "alt"}));
  EXPECT_EQ(fs.files.count("/Ablage/alt/HX1_6.xml"), 1u);
  EXPECT_EQ(fs.links.count("/Ablage/HX3_2.xml"), 1u);
}

TEST_F(DepotCleaningTest, TheAgeIsCountedFromTheClock) {
  File("HX1_2.xml", 10);
  EXPECT_EQ(CleanDepot(fs, "/Ablage", "HX", kNow, 10).deleted, 0);  // exactly 10 days: kept
  EXPECT_EQ(CleanDepot(fs, "/Ablage", "HX", kNow.AddMinutes(1), 10).deleted, 1);
}

TEST_F(DepotCleaningTest, NothingHappensWhenOffOrWithoutDepot) {
  File("HX1_2.xml", 400);
  EXPECT_EQ(CleanDepot(fs, "/Ablage", "HX", kNow, 0).deleted, 0);
  EXPECT_EQ(CleanDepot(fs, "", "HX", kNow, 30).deleted, 0);
  EXPECT_EQ(fs.deletes, 0);
}

TEST_F(DepotCleaningTest, AFileWithoutATimeIsKept) {
  fs.files["/Ablage/HX1_2.xml"] = "x";  // no last write known
  EXPECT_EQ(CleanDepot(fs, "/Ablage", "HX", kNow, 30).deleted, 0);
}

TEST_F(DepotCleaningTest, AtMostTheLimitPerCallTheRestNextTime) {
  for (int i = 1; i <= 1005; ++i) File("HX" + std::to_string(i) + "_2.xml", 100);
  File("ZZ.txt", 100);
  EXPECT_EQ(CleanDepot(fs, "/Ablage", "HX", kNow, 30).deleted, 1000);
  EXPECT_EQ(fs.deletes, 1000);
  EXPECT_EQ(CleanDepot(fs, "/Ablage", "HX", kNow, 30).deleted, 5);
  EXPECT_EQ(Left(), (std::vector<std::string>{"ZZ.txt", "alt"}));
}

TEST_F(DepotCleaningTest, AFileThatCannotBeDeletedIsCountedAndLeft) {
  File("HX1_2.xml", 100);
  File("HX1_4.xml", 100);
  fs.readonly.insert("/Ablage/HX1_2.xml");
  fs.undeletable = true;
  const DepotCleaning cleaning = CleanDepot(fs, "/Ablage", "HX", kNow, 30);
  EXPECT_EQ(cleaning.deleted, 1);
  EXPECT_EQ(cleaning.failed, 1);
  EXPECT_EQ(fs.files.count("/Ablage/HX1_2.xml"), 1u);
}

TEST_F(DepotCleaningTest, AMissingDepotRaises) {
  EXPECT_EQ(test::ErrorOf([&] { CleanDepot(fs, "/fehlt", "HX", kNow, 30); }), 76);
}

TEST(HousekeepingLogLine, SaysHowManyAndHowOld) {
  EXPECT_EQ(HousekeepingLogLine(3, 30),
            "(Housekeeping) -> 3 Datei(en) aus dem Ablage-Verzeichnis gelöscht (älter als 30 "
            "Tage).");
}

// --- The log's size ---

class LogRotationTest : public ::testing::Test {
 protected:
  LogRotationTest() { fs.folders = {"/k"}; }
  test::ScopedProcess process;
  MemoryFileSystem fs;
  test::FixedClock clock{kNow};
  LogWriter log{fs, clock, "/k/kdZentavo.log"};
  // One line is "01.07.2024" TAB "12:00:00" TAB text CR LF: 22 + text.
  static constexpr size_t kLine = 22 + 9;
  std::string Line(char c) { return "01.07.2024\t12:00:00\t" + std::string(9, c) + "\r\n"; }
};

TEST_F(LogRotationTest, WithoutALimitTheLogGrowsAndIsNeverLookedAt) {
  for (int i = 0; i < 100; ++i) log.Write(true, "xxxxxxxxx");
  EXPECT_EQ(fs.files["/k/kdZentavo.log"].size(), 100 * kLine);
  EXPECT_EQ(fs.renames, 0);
}

TEST_F(LogRotationTest, ALineThatWouldPassTheLimitBeginsANewLog) {
  log.SetMaxBytes(3 * kLine);
  log.Write(true, "aaaaaaaaa");
  log.Write(true, "bbbbbbbbb");
  log.Write(true, "ccccccccc");  // exactly the limit: still the same log
  EXPECT_EQ(fs.renames, 0);
  log.Write(true, "ddddddddd");
  EXPECT_EQ(fs.renames, 1);
  EXPECT_EQ(fs.files["/k/kdZentavo.log.1"], Line('a') + Line('b') + Line('c'));
  EXPECT_EQ(fs.files["/k/kdZentavo.log"], Line('d'));
  for (char c : std::string("efg")) log.Write(true, std::string(9, c));
  // The older .1 is replaced.
  EXPECT_EQ(fs.files["/k/kdZentavo.log.1"], Line('d') + Line('e') + Line('f'));
  EXPECT_EQ(fs.files["/k/kdZentavo.log"], Line('g'));
  EXPECT_TRUE(process.Reports().empty());
}

TEST_F(LogRotationTest, CheckLogAccessLinesCountToo) {
  log.SetMaxBytes(kLine);
  log.Write(true, "aaaaaaaaa");
  std::string sErr;
  EXPECT_TRUE(log.CheckLogAccess("(StartSync) -> aufgerufen", sErr));
  EXPECT_EQ(fs.files["/k/kdZentavo.log.1"], Line('a'));
  EXPECT_EQ(fs.files["/k/kdZentavo.log"], "(StartSync) -> aufgerufen\r\n");
}

TEST_F(LogRotationTest, ALineLongerThanTheLimitStillGoesIntoAFreshLog) {
  log.SetMaxBytes(10);
  log.Write(true, "aaaaaaaaa");
  log.Write(true, "bbbbbbbbb");
  EXPECT_EQ(fs.files["/k/kdZentavo.log.1"], Line('a'));
  EXPECT_EQ(fs.files["/k/kdZentavo.log"], Line('b'));
}

TEST_F(LogRotationTest, WhenTheRenameFailsTheLogGoesOnWithoutABox) {
  log.SetMaxBytes(kLine);
  fs.held.insert("/k/kdZentavo.log");
  log.Write(true, "aaaaaaaaa");
  log.Write(true, "bbbbbbbbb");
  log.Write(true, "ccccccccc");
  EXPECT_EQ(fs.files["/k/kdZentavo.log"], Line('a') + Line('b') + Line('c'));
  EXPECT_EQ(fs.files.count("/k/kdZentavo.log.1"), 0u);
  EXPECT_TRUE(process.Reports().empty());
  EXPECT_TRUE(process.ui.boxes.empty());
  fs.held.clear();
  log.Write(true, "ddddddddd");
  EXPECT_EQ(fs.files["/k/kdZentavo.log.1"], Line('a') + Line('b') + Line('c'));
  EXPECT_EQ(fs.files["/k/kdZentavo.log"], Line('d'));
}

// --- Whole exchanges on real folders ---

namespace fsys = std::filesystem;

// The local time now, as the clock of the system gives it.
DateTime LocalNow() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
#ifdef _WIN32
  localtime_s(&local, &now);
#else
  localtime_r(&now, &local);
#endif
  return DateTime::FromFields({local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
                               local.tm_hour, local.tm_min, local.tm_sec});
}

void MakeOld(const std::string& path, int days) {
  fsys::last_write_time(path, fsys::file_time_type::clock::now() - std::chrono::hours(24 * days));
}

void Put(const std::string& path, int days_old) {
  test::WriteFileBytes(path, "<SyncML/>");
  MakeOld(path, days_old);
}

const std::string& kSessionEnd = test::kAgentSessionEnd;

TEST(HousekeepingExchange, AfterASuccessfulExchangeOnlyOldOwnMessagesGo) {
  ExchangeHarness h;
  h.clock.now = LocalNow();
  h.profile.Set("kdZentavo.cfg", "HOUSEKEEPING", "DepotKeepDays", "30");
  Put(h.Depot("HX0_2.xml"), 40);
  Put(h.Depot("hx0_4.XML"), 40);
  Put(h.Depot("HX0_6.xml"), 20);
  Put(h.Depot("XX99_4.xml"), 40);
  Put(h.Depot("HX0_2.xml.bak"), 40);
  Put(h.Depot("Liesmich.txt"), 40);
  fsys::create_directory(h.Depot("alt"));
  Put(h.Join(h.Depot("alt"), "HX0_8.xml"), 40);
#ifndef _WIN32
  test::TempDir elsewhere;
  const std::string outside = elsewhere.File("HX0_10.xml");
  Put(outside, 40);
  ASSERT_EQ(::symlink(outside.c_str(), h.Depot("HX0_10.xml").c_str()), 0);
#endif
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kSessionEnd)}}),
            ZV_Success);
  std::vector<std::string> expected{"HX0_2.xml.bak", "HX0_6.xml", "HX1_2.xml", "Liesmich.txt",
                                    "XX99_4.xml",    "alt"};
#ifndef _WIN32
  expected.insert(expected.begin(), "HX0_10.xml");
  EXPECT_EQ(test::ReadFileBytes(outside), "<SyncML/>");
#endif
  std::vector<std::string> left = test::FolderEntries(h.depot);
  std::sort(left.begin(), left.end());
  EXPECT_EQ(left, expected);
  EXPECT_TRUE(fsys::exists(h.Join(h.Depot("alt"), "HX0_8.xml")));
  const std::string log = h.LogText();
  const size_t housekeeping = log.find(
      "\t(Housekeeping) -> 2 Datei(en) aus dem Ablage-Verzeichnis gelöscht (älter als 30 "
      "Tage).\r\n");
  ASSERT_NE(housekeeping, std::string::npos) << log;
  const size_t end = log.find("\t(StartSync) -> Rückgabewert 0\r\n");
  ASSERT_NE(end, std::string::npos);
  EXPECT_LT(housekeeping, end);
  EXPECT_EQ(log.find('\n', housekeeping) + 1, log.rfind('\n', end) + 1);  // the line just before
}

TEST(HousekeepingExchange, AnExchangeThatDidNotEndWellLeavesTheDepot) {
  ExchangeHarness h;
  h.clock.now = LocalNow();
  h.profile.Set("kdZentavo.cfg", "HOUSEKEEPING", "DepotKeepDays", "30");
  Put(h.Depot("HX0_2.xml"), 40);
  EXPECT_EQ(h.Run({}, 3), ZV_Error_Cancel);
  EXPECT_TRUE(fsys::exists(h.Depot("HX0_2.xml")));
  EXPECT_EQ(h.LogText().find("(Housekeeping)"), std::string::npos);
}

TEST(HousekeepingExchange, OffByDefaultNothingIsDeletedAndNoLineWritten) {
  ExchangeHarness h;
  h.clock.now = LocalNow();
  Put(h.Depot("HX0_2.xml"), 4000);
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kSessionEnd)}}),
            ZV_Success);
  EXPECT_TRUE(fsys::exists(h.Depot("HX0_2.xml")));
  EXPECT_EQ(h.LogText().find("(Housekeeping)"), std::string::npos);
  EXPECT_FALSE(fsys::exists(h.LogFile() + ".1"));
}

TEST(HousekeepingExchange, TheLogIsRenamedWhenItWouldPassItsSize) {
  ExchangeHarness h;
  h.profile.Set("kdZentavo.cfg", "HOUSEKEEPING", "LogMaxKB", "1");
  test::WriteFileBytes(h.LogFile(), std::string(1000, 'x') + "\r\n");
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kSessionEnd)}}),
            ZV_Success);
  ASSERT_TRUE(fsys::exists(h.LogFile() + ".1"));
  EXPECT_LE(fsys::file_size(h.LogFile()), 1024u);
  EXPECT_LE(fsys::file_size(h.LogFile() + ".1"), 1024u);
  EXPECT_NE(h.LogText().find("(StartSync) -> Rückgabewert 0"), std::string::npos);
}

}  // namespace
}  // namespace kdzv
