#include "platform/posix/posix_file_system.h"

#include <gtest/gtest.h>

#include <memory>

#include "support/fakes.h"
#include "support/file_system_conformance.h"
#include "util/error.h"

namespace kdzv::posix {
namespace {

using test::FileSystemConformance;

std::unique_ptr<FileSystem> MakePosixFileSystem() { return std::make_unique<PosixFileSystem>(); }

INSTANTIATE_TEST_SUITE_P(PosixFileSystem, FileSystemConformance,
                         ::testing::Values(test::FileSystemFactory{"PosixFileSystem",
                                                                   &MakePosixFileSystem}));

// Linux tells a folder apart: "Path/File access error".
TEST(PosixFileSystem, AFolderInsteadOfAFileIsPathFileAccessError) {
  test::TempDir dir;
  PosixFileSystem fs;
  try {
    fs.AppendToFile(dir.path(), "x");
    FAIL() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.number(), 75);
  }
}

}  // namespace
}  // namespace kdzv::posix
