#include "platform/posix/posix_profile_file.h"

#include <dirent.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "mapping/matching.h"
#include "support/fakes.h"
#include "util/error.h"

namespace kdzv::posix {
namespace {

using test::ReadFileBytes;
using test::TempDir;
using test::WriteFileBytes;

std::vector<std::string> FolderEntries(const std::string& folder) {
  std::vector<std::string> names;
  DIR* dir = ::opendir(folder.c_str());
  if (dir == nullptr) return names;
  while (const dirent* entry = ::readdir(dir)) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  ::closedir(dir);
  return names;
}

TEST(PosixProfileFileTest, MissingFileSectionOrKeyGivesTheDefault) {
  TempDir dir;
  PosixProfileFile profile;
  const std::string path = dir.File("a.cfg");
  EXPECT_EQ(profile.GetString("SESSION", "LastSessionID", "0", 255, path), "0");
  WriteFileBytes(path, "[OTHER]\nLastSessionID=4\n[SESSION]\nOther=1\n");
  EXPECT_EQ(profile.GetString("SESSION", "LastSessionID", "0", 255, path), "0");
  EXPECT_EQ(profile.GetString("NONE", "x", "Neuer Patient", 255, path), "Neuer Patient");
  EXPECT_EQ(profile.GetString("S", "k", "dflt", 255, dir.File("no/folder.cfg")), "dflt");
}

TEST(PosixProfileFileTest, DefaultLosesTrailingBlanksOnly) {
  TempDir dir;
  PosixProfileFile profile;
  EXPECT_EQ(profile.GetString("S", "k", "  x  ", 255, dir.File("a.cfg")), "  x");
  EXPECT_EQ(profile.GetString("S", "k", "\"q\" ", 255, dir.File("a.cfg")), "\"q\"");
}

TEST(PosixProfileFileTest, ReadsWithTheProfileRules) {
  TempDir dir;
  PosixProfileFile profile;
  const std::string path = dir.File("a.cfg");
  WriteFileBytes(path,
                 "\xEF\xBB\xBF; comment\r\n[matching]\r\n neuerpatient =  \"Neuer Patient \" \r\n"
                 "Methode=\r\n");
  EXPECT_EQ(profile.GetString("MATCHING", "NeuerPatient", "d", 255, path), "Neuer Patient ");
  EXPECT_EQ(profile.GetString("MATCHING", "Methode", "Behandlungsart", 255, path), "");
}

TEST(PosixProfileFileTest, TruncatesToTheBuffer) {
  TempDir dir;
  PosixProfileFile profile;
  const std::string path = dir.File("a.cfg");
  WriteFileBytes(path, "[S]\nk=abcdefgh\nu=a\xC3\xA4\xC3\xB6\n");
  EXPECT_EQ(profile.GetString("S", "k", "", 5, path), "abcd");
  EXPECT_EQ(profile.GetString("S", "k", "", 1, path), "");
  EXPECT_EQ(profile.GetString("S", "k", "", 0, path), "");
  EXPECT_EQ(profile.GetString("S", "k", "", 9, path), "abcdefgh");
  EXPECT_EQ(profile.GetString("S", "none", "default", 4, path), "def");
  // A character is never cut in half.
  EXPECT_EQ(profile.GetString("S", "u", "", 3, path), "a");
  EXPECT_EQ(profile.GetString("S", "u", "", 4, path), "a\xC3\xA4");
}

TEST(PosixProfileFileTest, UnreadableFileGivesTheDefault) {
  TempDir dir;
  PosixProfileFile profile;
  EXPECT_EQ(profile.GetString("S", "k", "d", 255, dir.path()), "d");
}

TEST(PosixProfileFileTest, WriteCreatesFileAndSectionAndReadsBack) {
  TempDir dir;
  PosixProfileFile profile;
  const std::string path = dir.File("kdZentavo.cfg");
  profile.WriteString("SESSION", "LastSessionID", "17", path);
  EXPECT_EQ(ReadFileBytes(path), "[SESSION]\r\nLastSessionID=17\r\n");
  profile.WriteString("MATCHING", "Methode", "Leistung", path);
  profile.WriteString("session", "lastsessionid", "18", path);
  EXPECT_EQ(ReadFileBytes(path),
            "[SESSION]\r\nLastSessionID=18\r\n[MATCHING]\r\nMethode=Leistung\r\n");
  EXPECT_EQ(profile.GetString("Matching", "METHODE", "", 255, path), "Leistung");
  profile.Flush(path);
  EXPECT_EQ(FolderEntries(dir.path()), (std::vector<std::string>{"kdZentavo.cfg"}));
}

TEST(PosixProfileFileTest, WriteIntoMissingFolderRaisesPathNotFound) {
  TempDir dir;
  PosixProfileFile profile;
  try {
    profile.WriteString("S", "k", "v", dir.File("missing/a.cfg"));
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 76);
    EXPECT_EQ(e.description(), "Path not found");
  }
}

TEST(PosixProfileFileTest, WriteOntoUnreadableFileRaises) {
  TempDir dir;
  PosixProfileFile profile;
  EXPECT_THROW(profile.WriteString("S", "k", "v", dir.path()), Error);
}

// The session number through the real file.
TEST(PosixSessionNumberTest, SaveAndReadRoundTrip) {
  test::ScopedProcess process;
  TempDir dir;
  PosixProfileFile profile;
  clZVMatching matching(profile);
  const std::string path = dir.File("kdZentavo.cfg");
  EXPECT_EQ(matching.GetLastSessionID(path), 0);
  matching.SaveSessionID(41, path);
  EXPECT_EQ(matching.GetLastSessionID(path), 41);
  matching.SaveSessionID(42, path);
  EXPECT_EQ(matching.GetLastSessionID(path), 42);
  matching.SaveSessionID(-3, path);
  EXPECT_EQ(matching.GetLastSessionID(path), -3);
  EXPECT_TRUE(process.Reports().empty());
}

TEST(PosixSessionNumberTest, SavedNumberIsOnDiskAndNoTemporaryFileRemains) {
  test::ScopedProcess process;
  TempDir dir;
  PosixProfileFile profile;
  clZVMatching matching(profile);
  const std::string path = dir.File("kdZentavo.cfg");
  WriteFileBytes(path, "; Halvex\n[MATCHING]\nMethode=Leistung\n[SESSION]\nLastSessionID=6\n");
  matching.SaveSessionID(7, path);
  EXPECT_EQ(ReadFileBytes(path),
            "; Halvex\n[MATCHING]\nMethode=Leistung\n[SESSION]\nLastSessionID=7\n");
  EXPECT_EQ(FolderEntries(dir.path()), (std::vector<std::string>{"kdZentavo.cfg"}));
  matching.ReadMatchingCFG(path);
  EXPECT_EQ(matching.AttrMethode, "Leistung");
  EXPECT_EQ(matching.AttrNeuerPatient, "Neuer Patient");
}

TEST(PosixSessionNumberTest, StoredTextsReadByTheLeadingNumberRule) {
  test::ScopedProcess process;
  TempDir dir;
  PosixProfileFile profile;
  clZVMatching matching(profile);
  const std::string path = dir.File("kdZentavo.cfg");
  WriteFileBytes(path, "[SESSION]\nLastSessionID=12abc\n");
  EXPECT_EQ(matching.GetLastSessionID(path), 12);
  WriteFileBytes(path, "[SESSION]\nLastSessionID=\n");
  EXPECT_EQ(matching.GetLastSessionID(path), 0);
  WriteFileBytes(path, "[SESSION]\nLastSessionID=\"  7\"\n");
  EXPECT_EQ(matching.GetLastSessionID(path), 7);
  EXPECT_TRUE(process.Reports().empty());
}

TEST(PosixSessionNumberTest, SaveIntoMissingFolderIsReported) {
  test::ScopedProcess process;
  process.ActivateLog();
  TempDir dir;
  PosixProfileFile profile;
  clZVMatching matching(profile);
  const std::string path = dir.File("gone/kdZentavo.cfg");
  matching.SaveSessionID(5, path);
  ASSERT_EQ(process.Reports().size(), 1u);
  EXPECT_EQ(process.Reports()[0],
            "(MAIN) --> ERROR: 76/Path not found / Modul=clZVMatching / Proc=SaveSessionID"
            " / Details=ID=5  File=" + path);
}

}  // namespace
}  // namespace kdzv::posix
