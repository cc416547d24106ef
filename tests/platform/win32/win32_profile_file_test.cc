#include "platform/win32/win32_profile_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "mapping/matching.h"
#include "support/fakes.h"
#include "util/error.h"

namespace kdzv::win32 {
namespace {

using test::ReadFileBytes;
using test::TempDir;
using test::WriteFileBytes;

TEST(Win32ProfileFileTest, WriteCreatesFileAndSectionAndReadsBack) {
  TempDir dir;
  Win32ProfileFile profile;
  const std::string path = dir.File("kdZentavo.cfg");
  profile.WriteString("SESSION", "LastSessionID", "17", path);
  EXPECT_NE(ReadFileBytes(path).find("[SESSION]"), std::string::npos);
  EXPECT_NE(ReadFileBytes(path).find("LastSessionID=17"), std::string::npos);
  EXPECT_EQ(profile.GetString("SESSION", "LastSessionID", "0", 255, path), "17");
  profile.WriteString("MATCHING", "Methode", "Leistung", path);
  profile.WriteString("SESSION", "LastSessionID", "18", path);
  profile.Flush(path);
  EXPECT_EQ(profile.GetString("SESSION", "LastSessionID", "0", 255, path), "18");
  EXPECT_EQ(profile.GetString("MATCHING", "Methode", "", 255, path), "Leistung");
}

TEST(Win32ProfileFileTest, NamesAreMatchedWithoutRegardToCase) {
  TempDir dir;
  Win32ProfileFile profile;
  const std::string path = dir.File("a.cfg");
  WriteFileBytes(path, "[Matching]\r\nneuerpatient=Erstbesuch\r\n");
  EXPECT_EQ(profile.GetString("MATCHING", "NeuerPatient", "d", 255, path), "Erstbesuch");
  profile.WriteString("matching", "NEUERPATIENT", "Neu", path);
  profile.Flush(path);
  EXPECT_EQ(profile.GetString("Matching", "neuerpatient", "d", 255, path), "Neu");
}

TEST(Win32ProfileFileTest, ValuesAreTrimmedAndUnquoted) {
  TempDir dir;
  Win32ProfileFile profile;
  const std::string path = dir.File("a.cfg");
  WriteFileBytes(path,
                 "; comment\r\n[M]\r\n a =  \"Neuer Patient \" \r\nb='x'\r\nc= plain \r\nd=\r\n");
  EXPECT_EQ(profile.GetString("M", "a", "", 255, path), "Neuer Patient ");
  EXPECT_EQ(profile.GetString("M", "b", "", 255, path), "x");
  EXPECT_EQ(profile.GetString("M", "c", "", 255, path), "plain");
  EXPECT_EQ(profile.GetString("M", "d", "Behandlungsart", 255, path), "");
}

TEST(Win32ProfileFileTest, MissingFileSectionOrKeyGivesTheDefault) {
  TempDir dir;
  Win32ProfileFile profile;
  const std::string path = dir.File("a.cfg");
  EXPECT_EQ(profile.GetString("SESSION", "LastSessionID", "0", 255, path), "0");
  WriteFileBytes(path, "[OTHER]\r\nLastSessionID=4\r\n[SESSION]\r\nx=1\r\n");
  EXPECT_EQ(profile.GetString("SESSION", "LastSessionID", "0", 255, path), "0");
  EXPECT_EQ(profile.GetString("NONE", "x", "Neuer Patient", 255, path), "Neuer Patient");
}

TEST(Win32ProfileFileTest, DefaultLosesTrailingBlanksOnly) {
  TempDir dir;
  Win32ProfileFile profile;
  EXPECT_EQ(profile.GetString("S", "k", "  x  ", 255, dir.File("a.cfg")), "  x");
}

TEST(Win32ProfileFileTest, TruncatesToTheBuffer) {
  TempDir dir;
  Win32ProfileFile profile;
  const std::string path = dir.File("a.cfg");
  WriteFileBytes(path, "[S]\r\nk=abcdefgh\r\n");
  EXPECT_EQ(profile.GetString("S", "k", "", 5, path), "abcd");
  EXPECT_EQ(profile.GetString("S", "k", "", 9, path), "abcdefgh");
  EXPECT_EQ(profile.GetString("S", "k", "", 0, path), "");
  EXPECT_EQ(profile.GetString("S", "none", "default", 4, path), "def");
}

TEST(Win32ProfileFileTest, NonAsciiTextReadsBack) {
  TempDir dir;
  Win32ProfileFile profile;
  const std::string path = dir.File("a.cfg");
  profile.WriteString("MATCHING", "Versicherung", "Kassenärztlich", path);
  profile.Flush(path);
  EXPECT_EQ(profile.GetString("MATCHING", "Versicherung", "", 255, path), "Kassenärztlich");
}

TEST(Win32ProfileFileTest, WriteIntoMissingFolderRaisesPathNotFound) {
  TempDir dir;
  Win32ProfileFile profile;
  try {
    profile.WriteString("S", "k", "v", dir.File("missing\\a.cfg"));
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 76);
    EXPECT_EQ(e.description(), "Path not found");
  }
}

TEST(Win32ProfileFileTest, RelativeNameIsTakenFromTheCurrentFolder) {
  TempDir dir;
  Win32ProfileFile profile;
  const auto saved = std::filesystem::current_path();
  std::filesystem::current_path(dir.path());
  profile.WriteString("S", "k", "here", "relative.cfg");
  profile.Flush("relative.cfg");
  const std::string value = profile.GetString("S", "k", "", 255, "relative.cfg");
  std::filesystem::current_path(saved);
  EXPECT_EQ(value, "here");
  EXPECT_NE(ReadFileBytes(dir.File("relative.cfg")).find("k=here"), std::string::npos);
}

TEST(Win32SessionNumberTest, SaveAndReadRoundTrip) {
  test::ScopedProcess process;
  TempDir dir;
  Win32ProfileFile profile;
  clZVMatching matching(profile);
  const std::string path = dir.File("kdZentavo.cfg");
  EXPECT_EQ(matching.GetLastSessionID(path), 0);
  matching.SaveSessionID(41, path);
  EXPECT_EQ(matching.GetLastSessionID(path), 41);
  matching.SaveSessionID(-3, path);
  EXPECT_EQ(matching.GetLastSessionID(path), -3);
  EXPECT_NE(ReadFileBytes(path).find("LastSessionID=-3"), std::string::npos);
  matching.ReadMatchingCFG(path);
  EXPECT_EQ(matching.AttrNeuerPatient, "Neuer Patient");
  EXPECT_EQ(matching.AttrVersicherung, "Versichertenart");
  EXPECT_EQ(matching.AttrMethode, "Behandlungsart");
  EXPECT_TRUE(process.Reports().empty());
}

TEST(Win32SessionNumberTest, SaveIntoMissingFolderIsReported) {
  test::ScopedProcess process;
  process.ActivateLog();
  TempDir dir;
  Win32ProfileFile profile;
  clZVMatching matching(profile);
  const std::string path = dir.File("gone\\kdZentavo.cfg");
  matching.SaveSessionID(5, path);
  ASSERT_EQ(process.Reports().size(), 1u);
  EXPECT_EQ(process.Reports()[0],
            "(MAIN) --> ERROR: 76/Path not found / Modul=clZVMatching / Proc=SaveSessionID"
            " / Details=ID=5  File=" + path);
}

}  // namespace
}  // namespace kdzv::win32
