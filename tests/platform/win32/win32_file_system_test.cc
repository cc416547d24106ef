#include "platform/win32/win32_file_system.h"

#include <gtest/gtest.h>

#include <memory>

#include "support/file_system_conformance.h"

namespace kdzv::win32 {
namespace {

using test::FileSystemConformance;

std::unique_ptr<FileSystem> MakeWin32FileSystem() { return std::make_unique<Win32FileSystem>(); }

INSTANTIATE_TEST_SUITE_P(Win32FileSystem, FileSystemConformance,
                         ::testing::Values(test::FileSystemFactory{"Win32FileSystem",
                                                                   &MakeWin32FileSystem}));

}  // namespace
}  // namespace kdzv::win32
