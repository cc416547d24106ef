#include "platform/win32/win32_profile_file.h"

#include <gtest/gtest.h>

#include <memory>

#include "support/profile_file_conformance.h"

namespace kdzv::win32 {
namespace {

using test::ProfileFileConformance;

std::unique_ptr<ProfileFile> MakeWin32ProfileFile() {
  return std::make_unique<Win32ProfileFile>();
}

INSTANTIATE_TEST_SUITE_P(Win32ProfileFile, ProfileFileConformance,
                         ::testing::Values(test::ProfileFileFactory{"Win32ProfileFile",
                                                                    &MakeWin32ProfileFile}));

}  // namespace
}  // namespace kdzv::win32
