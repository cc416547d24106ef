#include "platform/win32/win32_file_system.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

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

constexpr char kIn1252[] = "\xC4rzte M\xFCller caf\xE9 ?\xF3" "d?\r\n";

// Two log lines and a message written by `fs`, as the bytes of the log and
// of the message.
struct Written {
  std::string log;
  std::string message;
};
Written WrittenBy(Win32FileSystem& fs) {
  test::TempDir dir;
  fs.AppendToFile(dir.File("kdZentavo.log"), kText);
  fs.AppendToFile(dir.File("kdZentavo.log"), kText);
  fs.WriteTextFile(dir.File("HX1_1.xml"), kText);
  return {test::ReadFileBytes(dir.File("kdZentavo.log")),
          test::ReadFileBytes(dir.File("HX1_1.xml"))};
}

TEST(Win32FileSystem, AppendToFileAndWriteTextFileInCodePage1252) {
  Win32FileSystem fs(1252);
  const Written written = WrittenBy(fs);
  EXPECT_EQ(written.log, std::string(kIn1252) + kIn1252);
  EXPECT_EQ(written.message, kIn1252);
}

TEST(Win32FileSystem, AppendToFileAndWriteTextFileInCodePage65001) {
  Win32FileSystem fs(65001);
  const Written written = WrittenBy(fs);
  EXPECT_EQ(written.log, std::string(kText) + kText);
  EXPECT_EQ(written.message, kText);
}

// Without a code page given, the system's: Windows-1252 in the test prefix.
TEST(Win32FileSystem, TheSystemsAnsiCodePageByDefault) {
  ASSERT_EQ(::GetACP(), 1252u);
  test::TempDir dir;
  Win32FileSystem fs;
  fs.WriteTextFile(dir.File("HX1_1.xml"), kText);
  EXPECT_EQ(test::ReadFileBytes(dir.File("HX1_1.xml")), kIn1252);
}

}  // namespace
}  // namespace kdzv::win32
