#include "platform/posix/posix_profile_file.h"


#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "mapping/matching.h"
#include "support/fakes.h"
#include "support/profile_file_conformance.h"

namespace kdzv::posix {
namespace {

using test::ProfileFileConformance;
using test::ReadFileBytes;
using test::TempDir;
using test::WriteFileBytes;

std::unique_ptr<ProfileFile> MakePosixProfileFile() {
  return std::make_unique<PosixProfileFile>();
}

INSTANTIATE_TEST_SUITE_P(PosixProfileFile, ProfileFileConformance,
                         ::testing::Values(test::ProfileFileFactory{"PosixProfileFile",
                                                                    &MakePosixProfileFile}));

// The quotes of a default are kept here; the profile functions of Wine take
// them away as they do from a stored value.
TEST(PosixProfileFileTest, QuotesOfTheDefaultStay) {
  TempDir dir;
  PosixProfileFile profile;
  EXPECT_EQ(profile.GetString("S", "k", "\"q\" ", 255, dir.File("a.cfg")), "\"q\"");
}

// The buffer counts bytes here, not UTF-16 units as on Windows.
TEST(PosixProfileFileTest, TruncationNeverCutsACharacterInHalf) {
  TempDir dir;
  PosixProfileFile profile;
  const std::string path = dir.File("a.cfg");
  WriteFileBytes(path, "[S]\nu=a\xC3\xA4\xC3\xB6\n");
  EXPECT_EQ(profile.GetString("S", "u", "", 3, path), "a");
  EXPECT_EQ(profile.GetString("S", "u", "", 4, path), "a\xC3\xA4");
}

TEST(PosixProfileFileTest, WriteGivesWindowsLinesAndLeavesNoTemporaryFile) {
  TempDir dir;
  PosixProfileFile profile;
  const std::string path = dir.File("kdZentavo.cfg");
  profile.WriteString("SESSION", "LastSessionID", "17", path);
  EXPECT_EQ(ReadFileBytes(path), "[SESSION]\r\nLastSessionID=17\r\n");
  profile.WriteString("MATCHING", "Methode", "Leistung", path);
  profile.WriteString("session", "lastsessionid", "18", path);
  EXPECT_EQ(ReadFileBytes(path),
            "[SESSION]\r\nLastSessionID=18\r\n[MATCHING]\r\nMethode=Leistung\r\n");
  profile.Flush(path);
  EXPECT_EQ(test::FolderEntries(dir.path()), (std::vector<std::string>{"kdZentavo.cfg"}));
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
  EXPECT_EQ(test::FolderEntries(dir.path()), (std::vector<std::string>{"kdZentavo.cfg"}));
  matching.ReadMatchingCFG(path);
  EXPECT_EQ(matching.AttrMethode, "Leistung");
  EXPECT_EQ(matching.AttrNeuerPatient, "Neuer Patient");
}

}  // namespace
}  // namespace kdzv::posix
