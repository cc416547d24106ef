#include "platform/win32/win32_file_system.h"

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

}  // namespace
}  // namespace kdzv::win32
