#include "mapping/matching.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "support/fake_profile_file.h"
#include "support/fakes.h"

namespace kdzv {
namespace {

constexpr const char* kCfg = "C:\\Programme\\Halvex\\kdZentavo.cfg";

class MatchingTest : public ::testing::Test {
 protected:
  MatchingTest() { process.ActivateLog(); }

  int32_t StoredSession(std::string_view value) {
    profile.Set(kCfg, "SESSION", "LastSessionID", value);
    return matching.GetLastSessionID(kCfg);
  }

  test::ScopedProcess process;
  test::FakeProfileFile profile;
  clZVMatching matching{profile};
};

TEST_F(MatchingTest, NoConfigurationFileGivesSessionZero) {
  EXPECT_EQ(matching.GetLastSessionID(kCfg), 0);
  ASSERT_EQ(profile.reads.size(), 1u);
  EXPECT_EQ(profile.reads[0].section, "SESSION");
  EXPECT_EQ(profile.reads[0].key, "LastSessionID");
  EXPECT_EQ(profile.reads[0].default_value, "0");
  EXPECT_EQ(profile.reads[0].buffer_size, 255u);
  EXPECT_EQ(profile.reads[0].file, kCfg);
  EXPECT_TRUE(process.Reports().empty());
}

TEST_F(MatchingTest, NoConfigurationFileGivesTheDefaultAttributeNames) {
  matching.ReadMatchingCFG(kCfg);
  EXPECT_EQ(matching.AttrNeuerPatient, "Neuer Patient");
  EXPECT_EQ(matching.AttrVersicherung, "Versichertenart");
  EXPECT_EQ(matching.AttrMethode, "Behandlungsart");
  EXPECT_TRUE(process.Reports().empty());
}

TEST_F(MatchingTest, ReadMatchingCfgReadsTheThreeKeysInOrder) {
  matching.ReadMatchingCFG(kCfg);
  ASSERT_EQ(profile.reads.size(), 3u);
  const char* keys[] = {"NeuerPatient", "Versicherung", "Methode"};
  const char* defaults[] = {"Neuer Patient", "Versichertenart", "Behandlungsart"};
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(profile.reads[i].section, "MATCHING");
    EXPECT_EQ(profile.reads[i].key, keys[i]);
    EXPECT_EQ(profile.reads[i].default_value, defaults[i]);
    EXPECT_EQ(profile.reads[i].buffer_size, 255u);
    EXPECT_EQ(profile.reads[i].file, kCfg);
  }
}

TEST_F(MatchingTest, AttributeNamesAreEmptyUntilRead) {
  EXPECT_EQ(matching.AttrNeuerPatient, "");
  EXPECT_EQ(matching.AttrVersicherung, "");
  EXPECT_EQ(matching.AttrMethode, "");
  EXPECT_EQ(matching.IdxNeuerPatient, 0);
  EXPECT_EQ(matching.IdxVersicherung, 0);
  EXPECT_EQ(matching.IdxMethode, 0);
  EXPECT_TRUE(profile.reads.empty());
}

TEST_F(MatchingTest, ReadMatchingCfgTakesTheStoredNames) {
  profile.Set(kCfg, "MATCHING", "NeuerPatient", "Erstbesuch");
  profile.Set(kCfg, "MATCHING", "Versicherung", "Kasse");
  profile.Set(kCfg, "MATCHING", "Methode", " Leistung ");
  matching.ReadMatchingCFG(kCfg);
  EXPECT_EQ(matching.AttrNeuerPatient, "Erstbesuch");
  EXPECT_EQ(matching.AttrVersicherung, "Kasse");
  // Names are taken as the file gives them; blanks are not trimmed here.
  EXPECT_EQ(matching.AttrMethode, " Leistung ");
}

TEST_F(MatchingTest, KeyPresentWithEmptyValueGivesEmptyName) {
  profile.Set(kCfg, "MATCHING", "NeuerPatient", "");
  matching.ReadMatchingCFG(kCfg);
  EXPECT_EQ(matching.AttrNeuerPatient, "");
  EXPECT_EQ(matching.AttrVersicherung, "Versichertenart");
  EXPECT_EQ(matching.AttrMethode, "Behandlungsart");
}

TEST_F(MatchingTest, ReadMatchingCfgZeroesThePositions) {
  matching.IdxNeuerPatient = 3;
  matching.IdxVersicherung = 4;
  matching.IdxMethode = 5;
  matching.ReadMatchingCFG(kCfg);
  EXPECT_EQ(matching.IdxNeuerPatient, 0);
  EXPECT_EQ(matching.IdxVersicherung, 0);
  EXPECT_EQ(matching.IdxMethode, 0);
}

TEST_F(MatchingTest, ReadMatchingCfgFailureIsReported) {
  profile.fail_reads = ErrorInfo{75, "Path/File access error", ""};
  matching.IdxMethode = 2;
  matching.ReadMatchingCFG(kCfg);
  EXPECT_EQ(matching.AttrNeuerPatient, "");
  EXPECT_EQ(matching.IdxMethode, 2);  // the failure ended the operation first
  ASSERT_EQ(process.Reports().size(), 1u);
  EXPECT_EQ(process.Reports()[0],
            "(MAIN) --> ERROR: 75/Path/File access error / Modul=clZVMatching"
            " / Proc=ReadMatchingCFG / Details=");
}

TEST_F(MatchingTest, LeadingNumberOfTheStoredValue) {
  EXPECT_EQ(StoredSession("12abc"), 12);
  EXPECT_EQ(StoredSession(""), 0);
  EXPECT_EQ(StoredSession("  7"), 7);
  EXPECT_EQ(StoredSession("abc"), 0);
  EXPECT_EQ(StoredSession("-3"), -3);
  EXPECT_EQ(StoredSession("4711"), 4711);
  EXPECT_TRUE(process.Reports().empty());
}

TEST_F(MatchingTest, FractionsRoundHalvesToEven) {
  EXPECT_EQ(StoredSession("2.5"), 2);
  EXPECT_EQ(StoredSession("3.5"), 4);
  EXPECT_EQ(StoredSession("3.49"), 3);
  EXPECT_EQ(StoredSession("-2.5"), -2);
}

TEST_F(MatchingTest, ValueBeyondLongIsReportedAsOverflow) {
  EXPECT_EQ(StoredSession("99999999999"), 0);
  ASSERT_EQ(process.Reports().size(), 1u);
  EXPECT_EQ(process.Reports()[0],
            "(MAIN) --> ERROR: 6/Overflow / Modul=clZVMatching / Proc=GetLastSessionID"
            " / Details=");
}

TEST_F(MatchingTest, LimitsOfLongStillRead) {
  EXPECT_EQ(StoredSession("2147483647"), std::numeric_limits<int32_t>::max());
  EXPECT_EQ(StoredSession("-2147483648"), std::numeric_limits<int32_t>::min());
  EXPECT_EQ(StoredSession("2147483648"), 0);
  EXPECT_EQ(process.Reports().size(), 1u);
}

TEST_F(MatchingTest, ReadFailureGivesZeroAndIsReported) {
  profile.Set(kCfg, "SESSION", "LastSessionID", "9");
  profile.fail_reads = ErrorInfo{70, "Permission denied", ""};
  EXPECT_EQ(matching.GetLastSessionID(kCfg), 0);
  ASSERT_EQ(process.Reports().size(), 1u);
  EXPECT_EQ(process.Reports()[0],
            "(MAIN) --> ERROR: 70/Permission denied / Modul=clZVMatching"
            " / Proc=GetLastSessionID / Details=");
}

TEST_F(MatchingTest, SaveWritesPlainDecimalAndFlushes) {
  matching.SaveSessionID(17, kCfg);
  EXPECT_EQ(profile.Value(kCfg, "SESSION", "LastSessionID"), "17");
  ASSERT_EQ(profile.flushes.size(), 1u);
  EXPECT_EQ(profile.flushes[0], kCfg);
  matching.SaveSessionID(-3, kCfg);
  EXPECT_EQ(profile.Value(kCfg, "SESSION", "LastSessionID"), "-3");
  matching.SaveSessionID(0, kCfg);
  EXPECT_EQ(profile.Value(kCfg, "SESSION", "LastSessionID"), "0");
  matching.SaveSessionID(std::numeric_limits<int32_t>::min(), kCfg);
  EXPECT_EQ(profile.Value(kCfg, "SESSION", "LastSessionID"), "-2147483648");
  EXPECT_EQ(profile.writes, 4);
  EXPECT_TRUE(process.Reports().empty());
}

TEST_F(MatchingTest, TwoSavesGiveConsecutiveReads) {
  matching.SaveSessionID(41, kCfg);
  EXPECT_EQ(matching.GetLastSessionID(kCfg), 41);
  matching.SaveSessionID(42, kCfg);
  EXPECT_EQ(matching.GetLastSessionID(kCfg), 42);
  matching.SaveSessionID(-3, kCfg);
  EXPECT_EQ(matching.GetLastSessionID(kCfg), -3);
}

// The number is read, one added and saved while the configuration file's
// lock is held: no other process can read the same last number meanwhile.
TEST_F(MatchingTest, TheNextSessionNumberIsTakenUnderTheFilesLock) {
  profile.Set(kCfg, "SESSION", "LastSessionID", "41");
  profile.journal.clear();
  EXPECT_EQ(matching.TakeNextSessionID(kCfg), 42);
  const std::string cfg = kCfg;
  EXPECT_EQ(profile.journal,
            (std::vector<std::string>{"Lock " + cfg, "GetString SESSION/LastSessionID",
                                      "WriteString SESSION/LastSessionID=42", "Flush",
                                      "Unlock " + cfg}));
  EXPECT_EQ(matching.TakeNextSessionID(kCfg), 43);
  EXPECT_EQ(profile.Value(kCfg, "SESSION", "LastSessionID"), "43");
  EXPECT_TRUE(process.Reports().empty());
}

TEST_F(MatchingTest, WithoutTheLockNothingIsReadOrWritten) {
  profile.Set(kCfg, "SESSION", "LastSessionID", "41");
  profile.fail_lock = ErrorInfo{70, "Permission denied", ""};
  try {
    matching.TakeNextSessionID(kCfg);
    ADD_FAILURE() << "no error raised";
  } catch (const Error& error) {
    EXPECT_EQ(error.number(), 70);
  }
  EXPECT_EQ(profile.journal, std::vector<std::string>{"Lock " + std::string(kCfg)});
  EXPECT_EQ(profile.Value(kCfg, "SESSION", "LastSessionID"), "41");
}

// After the largest number comes an overflow; the lock is given back and
// the stored number stays.
TEST_F(MatchingTest, TheNumberAfterTheLargestOverflowsAndIsNotWritten) {
  profile.Set(kCfg, "SESSION", "LastSessionID", "2147483647");
  try {
    matching.TakeNextSessionID(kCfg);
    ADD_FAILURE() << "no error raised";
  } catch (const Error& error) {
    EXPECT_EQ(error.number(), 6);
  }
  EXPECT_EQ(profile.writes, 0);
  ASSERT_FALSE(profile.journal.empty());
  EXPECT_EQ(profile.journal.back(), "Unlock " + std::string(kCfg));
  EXPECT_EQ(profile.Value(kCfg, "SESSION", "LastSessionID"), "2147483647");
}

TEST_F(MatchingTest, SaveFailureIsReportedWithIdAndFile) {
  profile.fail_writes = ErrorInfo{76, "Path not found", ""};
  matching.SaveSessionID(5, kCfg);
  EXPECT_TRUE(profile.flushes.empty());
  ASSERT_EQ(process.Reports().size(), 1u);
  EXPECT_EQ(process.Reports()[0],
            std::string("(MAIN) --> ERROR: 76/Path not found / Modul=clZVMatching"
                        " / Proc=SaveSessionID / Details=ID=5  File=") +
                kCfg);
}

TEST_F(MatchingTest, SaveFailureOfNegativeNumberShowsItsSign) {
  profile.fail_writes = ErrorInfo{70, "Permission denied", ""};
  matching.SaveSessionID(-3, "/tmp/x.cfg");
  ASSERT_EQ(process.Reports().size(), 1u);
  EXPECT_EQ(process.Reports()[0],
            "(MAIN) --> ERROR: 70/Permission denied / Modul=clZVMatching"
            " / Proc=SaveSessionID / Details=ID=-3  File=/tmp/x.cfg");
}

TEST(MatchingWithoutInterfaceTest, SaveFailureGoesToAMessageBox) {
  test::ScopedProcess process;
  test::FakeProfileFile profile;
  profile.fail_writes = ErrorInfo{76, "Path not found", ""};
  clZVMatching matching(profile);
  matching.SaveSessionID(5, "D:\\cfg\\kdZentavo.cfg");
  ASSERT_EQ(process.ui.boxes.size(), 1u);
  EXPECT_EQ(process.ui.boxes[0].text,
            "Es ist der folgende Fehler aufgetreten:\r\n76/Path not found / Modul=clZVMatching"
            " / Proc=SaveSessionID / Details=ID=5  File=D:\\cfg\\kdZentavo.cfg");
}

}  // namespace
}  // namespace kdzv
