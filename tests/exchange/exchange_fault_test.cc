// Exchanges that meet a fault on disk: an upload folder that cannot take a
// message, a read-only answer, a depot that cannot take a file. Each must end
// with a clear error and lose neither a file nor a session number.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "exchange/exchange_harness.h"
#include "support/golden.h"

namespace kdzv {
namespace {

using test::ExchangeHarness;
namespace fs = std::filesystem;

const std::string& kAdd = test::kAgentAdd;
const std::string& kSessionEnd = test::kAgentSessionEnd;

bool Contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// A folder in the way of a file name: no user, root included, can write a
// file there.
void Obstruct(const std::string& path) { fs::create_directory(path); }

void MakeReadOnly(const std::string& path, bool read_only) {
  fs::permissions(path, fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
                  read_only ? fs::perm_options::remove : fs::perm_options::add);
}

TEST(ExchangeFaultTest, AnUploadFolderThatCannotTakeTheOpeningMessageCancels) {
  ExchangeHarness h;
  Obstruct(h.Up("HX1_1.xml"));
  EXPECT_EQ(h.Run({}), ZV_Error_Cancel);
  EXPECT_TRUE(Contains(h.LogText(), "Fehler beim Erstellen des Session-Files!"));
  // The number is used up all the same: the next exchange takes the next one.
  EXPECT_EQ(h.profile.Value("kdZentavo.cfg", "SESSION", "LastSessionID"), "1");
  fs::remove(h.Up("HX1_1.xml"));
  EXPECT_EQ(h.Run({{"HX2_1.xml", "HX2_2.xml", ExchangeHarness::Answer(2, 2, kSessionEnd)}}),
            ZV_Success);
  EXPECT_EQ(h.profile.Value("kdZentavo.cfg", "SESSION", "LastSessionID"), "2");
}

TEST(ExchangeFaultTest, AnAnswerThatCannotBeWrittenIsReportedAndNothingIsLost) {
  ExchangeHarness h;
  Obstruct(h.Up("HX1_3.xml"));
  // No answer reaches the agent, so the exchange waits until it is given up.
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kAdd)}}, 12),
            ZV_Error_Cancel);
  const std::string log = h.LogText();
  EXPECT_TRUE(Contains(log, "Antwortdatei wird geschrieben: " + h.Up("HX1_3.xml"))) << log;
  EXPECT_TRUE(Contains(log, "CreateUpFile")) << log;
  EXPECT_TRUE(Contains(log, "File=" + h.Up("HX1_3.xml"))) << log;
  // The host has the appointment and the agent's message is in the depot.
  EXPECT_EQ(h.host.events, std::vector<std::string>{"OnTermin Add ZV-1"});
  EXPECT_TRUE(fs::exists(h.Depot("HX1_2.xml")));
  EXPECT_TRUE(test::FolderEntries(h.down).empty());
}

TEST(ExchangeFaultTest, AReadOnlyAnswerIsLeftInPlaceUntilItCanBeTaken) {
  ExchangeHarness h;
  h.on_pass = [](ExchangeHarness& x) {
    const std::string answer = x.Down("HX1_2.xml");
    if (!fs::exists(answer)) return;
    // Read-only for the first passes, as an agent might leave it; then
    // writable again.
    MakeReadOnly(answer, x.passes < 5);
  };
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kSessionEnd)}}),
            ZV_Success);
  const std::string log = h.LogText();
  const size_t refused = log.find("Die Datei kann nicht exklusiv geöffnet werden");
  ASSERT_NE(refused, std::string::npos) << log;
  EXPECT_LT(refused, log.find("Die Datei wird verarbeitet..."));
  EXPECT_TRUE(fs::exists(h.Depot("HX1_2.xml")));
  EXPECT_TRUE(test::FolderEntries(h.down).empty());
}

TEST(ExchangeFaultTest, AReadOnlyLeftOverFileIsClearedIntoTheDepot) {
  ExchangeHarness h;
  test::WriteFileBytes(h.Down("old.xml"), "old");
  MakeReadOnly(h.Down("old.xml"), true);
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kSessionEnd)}}),
            ZV_Success);
  EXPECT_EQ(test::ReadFileBytes(h.Depot("old.xml")), "old");
  EXPECT_TRUE(test::FolderEntries(h.down).empty());
}

TEST(ExchangeFaultTest, ADepotThatCannotTakeAFileLeavesItInTheDownloadFolder) {
  ExchangeHarness h;
  Obstruct(h.Depot("HX1_2.xml"));
  // The answer is processed and answered; the move fails, so the file stays
  // where it is. Seen again with the next number expected, it is not taken,
  // and the exchange is given up.
  EXPECT_EQ(h.Run({{"HX1_1.xml", "HX1_2.xml", ExchangeHarness::Answer(1, 2, kAdd)}}),
            ZV_Error_Cancel);
  EXPECT_TRUE(fs::exists(h.Down("HX1_2.xml")));
  EXPECT_TRUE(fs::exists(h.Up("HX1_3.xml")));
  const std::string log = h.LogText();
  EXPECT_TRUE(Contains(log, "(MAIN) --> ERROR: ")) << log;
  EXPECT_TRUE(Contains(log, "File=" + h.Down("HX1_2.xml"))) << log;
  EXPECT_TRUE(Contains(log, "Erwartete Datei: 'HX1_4.xml'")) << log;
}

// A log that another user created, and that this user may not change, is
// refused at once. (Wine does not check permissions; a read-only file is
// refused on either system, except to Linux's root, who writes it anyway.
// Windows refuses it to every user.)
TEST(ExchangeFaultTest, ALogThatCannotBeWrittenEndsWithItsTextBeforeAnythingElse) {
  ExchangeHarness h;
  const std::string log = h.LogFile();
  test::WriteFileBytes(log, "");
  MakeReadOnly(log, true);
#ifndef _WIN32
  if (std::ofstream(log, std::ios::app)) {
    MakeReadOnly(log, false);
    GTEST_SKIP() << "this user writes read-only files";
  }
#endif
  test::WriteFileBytes(h.Down("old.xml"), "old");
  EXPECT_EQ(h.Run({}), ZV_Error_LogFileAccess);
  MakeReadOnly(log, false);
  EXPECT_EQ(h.sErr, "Auf die Log-Datei " + log +
                        " kann nicht zugegriffen werden (Error 70 - Permission denied).");
  EXPECT_EQ(test::ReadFileBytes(log), "");
  // Nothing else was done: no number taken, no file moved or written.
  EXPECT_FALSE(h.profile.Value("kdZentavo.cfg", "SESSION", "LastSessionID"));
  EXPECT_TRUE(fs::exists(h.Down("old.xml")));
  EXPECT_TRUE(test::FolderEntries(h.up).empty());
  EXPECT_TRUE(h.ui.boxes.empty());
}

}  // namespace
}  // namespace kdzv
