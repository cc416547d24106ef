#include "platform/posix/posix_file_system.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/fakes.h"
#include "util/error.h"

namespace kdzv::posix {
namespace {

int32_t AppendError(PosixFileSystem& fs, const std::string& path) {
  try {
    fs.AppendToFile(path, "x");
  } catch (const Error& e) {
    return e.number();
  }
  return 0;
}

TEST(PosixFileSystem, AppendCreatesAndAppendsBytesAsGiven) {
  test::TempDir dir;
  PosixFileSystem fs;
  const std::string path = dir.File("kdZentavo.log");
  fs.AppendToFile(path, "eins\r\n");
  fs.AppendToFile(path, "zwei\r\n");
  EXPECT_EQ(test::ReadFileBytes(path), "eins\r\nzwei\r\n");
}

TEST(PosixFileSystem, MissingFolderIsPathNotFound) {
  test::TempDir dir;
  PosixFileSystem fs;
  EXPECT_EQ(AppendError(fs, dir.File("missing/kdZentavo.log")), 76);
}

TEST(PosixFileSystem, AFolderInsteadOfAFileIsRefused) {
  test::TempDir dir;
  PosixFileSystem fs;
  EXPECT_EQ(AppendError(fs, dir.path()), 75);
}

TEST(PosixFileSystem, AFileInsteadOfAFolderIsPathNotFound) {
  test::TempDir dir;
  test::WriteFileBytes(dir.File("plain"), "");
  PosixFileSystem fs;
  EXPECT_EQ(AppendError(fs, dir.File("plain/kdZentavo.log")), 76);
}

TEST(PosixFileSystem, EmptyPathIsAnError) {
  PosixFileSystem fs;
  EXPECT_NE(AppendError(fs, ""), 0);
}

}  // namespace
}  // namespace kdzv::posix
