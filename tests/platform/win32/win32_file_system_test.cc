#include "platform/win32/win32_file_system.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <memory>

#include "support/fakes.h"
#include "support/file_system_conformance.h"

namespace kdzv::win32 {
namespace {

using test::FileSystemConformance;

std::unique_ptr<FileSystem> MakeWin32FileSystem() { return std::make_unique<Win32FileSystem>(); }

INSTANTIATE_TEST_SUITE_P(Win32FileSystem, FileSystemConformance,
                         ::testing::Values(test::FileSystemFactory{"Win32FileSystem",
                                                                   &MakeWin32FileSystem}));

// The log is a text file of the system: the ANSI code page, as the message
// files are (Windows-1252 in the test prefix).
TEST(Win32FileSystem, AppendToFileWritesTheAnsiCodePage) {
  test::TempDir dir;
  Win32FileSystem fs;
  fs.AppendToFile(dir.File("kdZentavo.log"), "\xC3\x9C" "berpr\xC3\xBC" "fen \xC4\x81\r\n");
  EXPECT_EQ(test::ReadFileBytes(dir.File("kdZentavo.log")), "\xDC" "berpr\xFC" "fen ?\r\n");
}

// The same texts in the two code pages a practice's Windows has as its ANSI
// code page: Windows-1252, and UTF-8 ("Unicode UTF-8" in the region
// settings). In UTF-8 nothing is lost, and the message's prolog is right.
constexpr char kText[] = "\xC3\x84rzte M\xC3\xBCller caf\xC3\xA9 \xC5\x81\xC3\xB3" "d\xC5\xBA\r\n";

TEST(Win32FileSystem, AppendToFileAndWriteTextFileInCodePage1252) {
  test::TempDir dir;
  Win32FileSystem fs(1252);
  fs.AppendToFile(dir.File("kdZentavo.log"), kText);
  fs.AppendToFile(dir.File("kdZentavo.log"), kText);
  fs.WriteTextFile(dir.File("HX1_1.xml"), kText);
  const std::string expected = "\xC4rzte M\xFCller caf\xE9 ?\xF3" "d?\r\n";
  EXPECT_EQ(test::ReadFileBytes(dir.File("kdZentavo.log")), expected + expected);
  EXPECT_EQ(test::ReadFileBytes(dir.File("HX1_1.xml")), expected);
}

TEST(Win32FileSystem, AppendToFileAndWriteTextFileInCodePage65001) {
  test::TempDir dir;
  Win32FileSystem fs(65001);
  fs.AppendToFile(dir.File("kdZentavo.log"), kText);
  fs.AppendToFile(dir.File("kdZentavo.log"), kText);
  fs.WriteTextFile(dir.File("HX1_1.xml"), kText);
  EXPECT_EQ(test::ReadFileBytes(dir.File("kdZentavo.log")), std::string(kText) + kText);
  EXPECT_EQ(test::ReadFileBytes(dir.File("HX1_1.xml")), kText);
}

// Without a code page given, the system's: Windows-1252 in the test prefix.
TEST(Win32FileSystem, TheSystemsAnsiCodePageByDefault) {
  ASSERT_EQ(::GetACP(), 1252u);
  test::TempDir dir;
  Win32FileSystem fs;
  fs.WriteTextFile(dir.File("HX1_1.xml"), kText);
  EXPECT_EQ(test::ReadFileBytes(dir.File("HX1_1.xml")), "\xC4rzte M\xFCller caf\xE9 ?\xF3" "d?\r\n");
}

}  // namespace
}  // namespace kdzv::win32
