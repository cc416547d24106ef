// The contract of the file-system port (interface/file_system.h) as a
// value-parameterised test suite for every implementation that works on
// real files, e.g.
//
//   INSTANTIATE_TEST_SUITE_P(PosixFileSystem, FileSystemConformance,
//                            ::testing::Values(FileSystemFactory{"Posix", &MakePosix}));
//
// Each test gets a fresh implementation and an empty test::TempDir.
#ifndef KDZV_TESTS_SUPPORT_FILE_SYSTEM_CONFORMANCE_H_
#define KDZV_TESTS_SUPPORT_FILE_SYSTEM_CONFORMANCE_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>

#include "interface/file_system.h"
#include "support/fakes.h"

namespace kdzv::test {

struct FileSystemFactory {
  const char* name;
  std::unique_ptr<FileSystem> (*make)();
};

inline void PrintTo(const FileSystemFactory& factory, std::ostream* out) {
  *out << factory.name;
}

class FileSystemConformance : public ::testing::TestWithParam<FileSystemFactory> {
 protected:
  FileSystemConformance() : fs(GetParam().make()) {}

  // The number of the error that appending "x" to `path` raises; 0 when it
  // works.
  int32_t AppendError(const std::string& path);
  // `name` in the sub-folder `folder` of the test folder, with the
  // platform's separator.
  std::string InFolder(std::string_view folder, std::string_view name) const;

  TempDir dir;
  std::unique_ptr<FileSystem> fs;
};

}  // namespace kdzv::test

#endif  // KDZV_TESTS_SUPPORT_FILE_SYSTEM_CONFORMANCE_H_
