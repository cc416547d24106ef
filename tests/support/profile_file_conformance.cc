// The tests of the profile-file contract; instantiated per implementation.
#include "support/profile_file_conformance.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>

#include "mapping/matching.h"
#include "util/error.h"

namespace kdzv::test {

std::string ProfileFileConformance::InFolder(std::string_view folder,
                                             std::string_view name) const {
  return (std::filesystem::path(dir.File(folder)) / std::filesystem::path(name)).string();
}

namespace {

// Whether the file holds `text` somewhere.
bool FileHas(const std::string& path, const std::string& text) {
  return ReadFileBytes(path).find(text) != std::string::npos;
}

TEST_P(ProfileFileConformance, MissingFileSectionOrKeyGivesTheDefault) {
  const std::string path = dir.File("a.cfg");
  EXPECT_EQ(profile->GetString("SESSION", "LastSessionID", "0", 255, path), "0");
  WriteFileBytes(path, "[OTHER]\r\nLastSessionID=4\r\n[SESSION]\r\nOther=1\r\n");
  EXPECT_EQ(profile->GetString("SESSION", "LastSessionID", "0", 255, path), "0");
  EXPECT_EQ(profile->GetString("NONE", "x", "Neuer Patient", 255, path), "Neuer Patient");
  EXPECT_EQ(profile->GetString("S", "k", "dflt", 255, InFolder("no", "folder.cfg")), "dflt");
}

TEST_P(ProfileFileConformance, DefaultLosesTrailingBlanksOnly) {
  const std::string path = dir.File("a.cfg");
  EXPECT_EQ(profile->GetString("S", "k", "  x  ", 255, path), "  x");
  EXPECT_EQ(profile->GetString("S", "k", "\tx \t ", 255, path), "\tx \t");
}

TEST_P(ProfileFileConformance, ReadsFilesWithBomAndEitherLineEnd) {
  const std::string path = dir.File("a.cfg");
  WriteFileBytes(path,
                 "\xEF\xBB\xBF; comment\r\n[matching]\r\n neuerpatient =  \"Neuer Patient \" \r\n"
                 "Methode=\r\n");
  EXPECT_EQ(profile->GetString("MATCHING", "NeuerPatient", "d", 255, path), "Neuer Patient ");
  EXPECT_EQ(profile->GetString("MATCHING", "Methode", "Behandlungsart", 255, path), "");
  WriteFileBytes(path, "[matching]\nneuerpatient=Erstbesuch\nMethode=Leistung\n");
  EXPECT_EQ(profile->GetString("MATCHING", "NeuerPatient", "d", 255, path), "Erstbesuch");
  EXPECT_EQ(profile->GetString("MATCHING", "Methode", "d", 255, path), "Leistung");
}

TEST_P(ProfileFileConformance, NamesAreMatchedWithoutRegardToCase) {
  const std::string path = dir.File("a.cfg");
  WriteFileBytes(path, "[Matching]\r\nneuerpatient=Erstbesuch\r\n");
  EXPECT_EQ(profile->GetString("MATCHING", "NeuerPatient", "d", 255, path), "Erstbesuch");
  profile->WriteString("matching", "NEUERPATIENT", "Neu", path);
  profile->Flush(path);
  EXPECT_EQ(profile->GetString("Matching", "neuerpatient", "d", 255, path), "Neu");
}

TEST_P(ProfileFileConformance, ValuesAreTrimmedAndUnquoted) {
  const std::string path = dir.File("a.cfg");
  WriteFileBytes(path,
                 "; comment\r\n[M]\r\n a =  \"Neuer Patient \" \r\nb='x'\r\nc= plain \r\nd=\r\n");
  EXPECT_EQ(profile->GetString("M", "a", "", 255, path), "Neuer Patient ");
  EXPECT_EQ(profile->GetString("M", "b", "", 255, path), "x");
  EXPECT_EQ(profile->GetString("M", "c", "", 255, path), "plain");
  EXPECT_EQ(profile->GetString("M", "d", "Behandlungsart", 255, path), "");
}

TEST_P(ProfileFileConformance, TruncatesToTheBuffer) {
  const std::string path = dir.File("a.cfg");
  WriteFileBytes(path, "[S]\r\nk=abcdefgh\r\n");
  EXPECT_EQ(profile->GetString("S", "k", "", 5, path), "abcd");
  EXPECT_EQ(profile->GetString("S", "k", "", 1, path), "");
  EXPECT_EQ(profile->GetString("S", "k", "", 0, path), "");
  EXPECT_EQ(profile->GetString("S", "k", "", 9, path), "abcdefgh");
  EXPECT_EQ(profile->GetString("S", "none", "default", 4, path), "def");
}

TEST_P(ProfileFileConformance, AFolderInsteadOfAFileGivesTheDefault) {
  EXPECT_EQ(profile->GetString("S", "k", "d", 255, dir.path()), "d");
}

TEST_P(ProfileFileConformance, WriteCreatesFileAndSectionAndReadsBack) {
  const std::string path = dir.File("kdZentavo.cfg");
  profile->WriteString("SESSION", "LastSessionID", "17", path);
  profile->Flush(path);
  EXPECT_TRUE(FileHas(path, "[SESSION]"));
  EXPECT_TRUE(FileHas(path, "LastSessionID=17"));
  EXPECT_EQ(profile->GetString("SESSION", "LastSessionID", "0", 255, path), "17");
  profile->WriteString("MATCHING", "Methode", "Leistung", path);
  profile->WriteString("session", "lastsessionid", "18", path);
  profile->Flush(path);
  EXPECT_EQ(profile->GetString("SESSION", "LastSessionID", "0", 255, path), "18");
  EXPECT_EQ(profile->GetString("Matching", "METHODE", "", 255, path), "Leistung");
  // The key was replaced, not added a second time.
  const std::string text = ReadFileBytes(path);
  EXPECT_EQ(text.find("17"), std::string::npos);
  EXPECT_TRUE(FileHas(path, "[MATCHING]"));
  EXPECT_TRUE(FileHas(path, "Methode=Leistung"));
}

TEST_P(ProfileFileConformance, WriteKeepsTheOtherLinesOfTheFile) {
  const std::string path = dir.File("kdZentavo.cfg");
  WriteFileBytes(path,
                 "; Halvex\r\n[MATCHING]\r\nMethode=Leistung\r\n[SESSION]\r\nLastSessionID=6\r\n");
  profile->WriteString("SESSION", "LastSessionID", "7", path);
  profile->Flush(path);
  EXPECT_TRUE(FileHas(path, "; Halvex"));
  EXPECT_TRUE(FileHas(path, "Methode=Leistung"));
  EXPECT_TRUE(FileHas(path, "LastSessionID=7"));
  EXPECT_EQ(profile->GetString("MATCHING", "Methode", "", 255, path), "Leistung");
  EXPECT_EQ(profile->GetString("SESSION", "LastSessionID", "", 255, path), "7");
}

TEST_P(ProfileFileConformance, NonAsciiTextReadsBack) {
  const std::string path = dir.File("a.cfg");
  profile->WriteString("MATCHING", "Versicherung", "Kassenärztlich", path);
  profile->Flush(path);
  EXPECT_EQ(profile->GetString("MATCHING", "Versicherung", "", 255, path), "Kassenärztlich");
  EXPECT_EQ(profile->GetString("MATCHING", "Fehlt", "Grüße ", 255, path), "Grüße");
}

TEST_P(ProfileFileConformance, WriteIntoMissingFolderRaisesPathNotFound) {
  try {
    profile->WriteString("S", "k", "v", InFolder("missing", "a.cfg"));
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 76);
    EXPECT_EQ(e.description(), "Path not found");
  }
}

TEST_P(ProfileFileConformance, WriteOntoAFolderRaises) {
  EXPECT_THROW(profile->WriteString("S", "k", "v", dir.path()), Error);
}

TEST_P(ProfileFileConformance, RelativeNameIsTakenFromTheCurrentFolder) {
  const auto saved = std::filesystem::current_path();
  std::filesystem::current_path(dir.path());
  profile->WriteString("S", "k", "here", "relative.cfg");
  profile->Flush("relative.cfg");
  const std::string value = profile->GetString("S", "k", "", 255, "relative.cfg");
  std::filesystem::current_path(saved);
  EXPECT_EQ(value, "here");
  EXPECT_TRUE(FileHas(dir.File("relative.cfg"), "k=here"));
}

// The session number of clZVMatching through the real file.

TEST_P(ProfileFileConformance, SessionNumberRoundTrip) {
  ScopedProcess process;
  clZVMatching matching(*profile);
  const std::string path = dir.File("kdZentavo.cfg");
  EXPECT_EQ(matching.GetLastSessionID(path), 0);
  matching.SaveSessionID(41, path);
  EXPECT_EQ(matching.GetLastSessionID(path), 41);
  matching.SaveSessionID(42, path);
  EXPECT_EQ(matching.GetLastSessionID(path), 42);
  matching.SaveSessionID(-3, path);
  EXPECT_EQ(matching.GetLastSessionID(path), -3);
  EXPECT_TRUE(FileHas(path, "LastSessionID=-3"));
  matching.ReadMatchingCFG(path);
  EXPECT_EQ(matching.AttrNeuerPatient, "Neuer Patient");
  EXPECT_EQ(matching.AttrVersicherung, "Versichertenart");
  EXPECT_EQ(matching.AttrMethode, "Behandlungsart");
  EXPECT_TRUE(process.Reports().empty());
}

TEST_P(ProfileFileConformance, SessionNumberKeepsTheMatchingRules) {
  ScopedProcess process;
  clZVMatching matching(*profile);
  const std::string path = dir.File("kdZentavo.cfg");
  WriteFileBytes(path, "; Halvex\n[MATCHING]\nMethode=Leistung\n[SESSION]\nLastSessionID=6\n");
  matching.SaveSessionID(7, path);
  EXPECT_EQ(matching.GetLastSessionID(path), 7);
  matching.ReadMatchingCFG(path);
  EXPECT_EQ(matching.AttrMethode, "Leistung");
  EXPECT_EQ(matching.AttrNeuerPatient, "Neuer Patient");
  EXPECT_TRUE(process.Reports().empty());
}

TEST_P(ProfileFileConformance, StoredSessionTextsReadByTheLeadingNumberRule) {
  ScopedProcess process;
  clZVMatching matching(*profile);
  const std::string path = dir.File("kdZentavo.cfg");
  WriteFileBytes(path, "[SESSION]\r\nLastSessionID=12abc\r\n");
  EXPECT_EQ(matching.GetLastSessionID(path), 12);
  WriteFileBytes(path, "[SESSION]\r\nLastSessionID=\r\n");
  EXPECT_EQ(matching.GetLastSessionID(path), 0);
  WriteFileBytes(path, "[SESSION]\r\nLastSessionID=\"  7\"\r\n");
  EXPECT_EQ(matching.GetLastSessionID(path), 7);
  EXPECT_TRUE(process.Reports().empty());
}

TEST_P(ProfileFileConformance, SessionNumberSavedIntoMissingFolderIsReported) {
  ScopedProcess process;
  process.ActivateLog();
  clZVMatching matching(*profile);
  const std::string path = InFolder("gone", "kdZentavo.cfg");
  matching.SaveSessionID(5, path);
  ASSERT_EQ(process.Reports().size(), 1u);
  EXPECT_EQ(process.Reports()[0],
            "(MAIN) --> ERROR: 76/Path not found / Modul=clZVMatching / Proc=SaveSessionID"
            " / Details=ID=5  File=" + path);
}

// The lock of a file keeps out every other holder (here another thread,
// which on both systems is kept out as another process is) until it is given
// back; the file can be read and written meanwhile.
TEST_P(ProfileFileConformance, TheLockKeepsOutAnotherUntilItIsGivenBack) {
  ScopedProcess process;
  clZVMatching matching(*profile);
  const std::string path = dir.File("kdZentavo.cfg");
  std::atomic<bool> taken{false};
  std::thread other;
  {
    const std::unique_ptr<ProfileFileLock> lock = profile->Lock(path);
    ASSERT_TRUE(lock);
    other = std::thread([&] {
      const std::unique_ptr<ProfileFileLock> second = profile->Lock(path);
      taken = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_FALSE(taken);
    matching.SaveSessionID(8, path);
    EXPECT_EQ(matching.GetLastSessionID(path), 8);
  }
  other.join();
  EXPECT_TRUE(taken);
  // Taken and given back again, one after the other.
  EXPECT_EQ(matching.TakeNextSessionID(path), 9);
  EXPECT_EQ(matching.TakeNextSessionID(path), 10);
  EXPECT_EQ(matching.GetLastSessionID(path), 10);
  EXPECT_TRUE(process.Reports().empty());
}

// Two files in two folders have two locks.
TEST_P(ProfileFileConformance, TheLocksOfTwoFilesInTwoFoldersAreIndependent) {
  std::filesystem::create_directory(dir.File("a"));
  std::filesystem::create_directory(dir.File("b"));
  std::atomic<bool> taken{false};
  std::thread other;
  {
    const std::unique_ptr<ProfileFileLock> first = profile->Lock(InFolder("a", "kdZentavo.cfg"));
    other = std::thread([&] {
      const std::unique_ptr<ProfileFileLock> second =
          profile->Lock(InFolder("b", "kdZentavo.cfg"));
      taken = true;
    });
    for (int i = 0; i < 100 && !taken; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    EXPECT_TRUE(taken);
  }
  other.join();
}

}  // namespace
}  // namespace kdzv::test
