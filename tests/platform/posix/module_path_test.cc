#include <gtest/gtest.h>

#include <filesystem>

#include "interface/component_paths.h"
#include "platform/platform.h"

namespace kdzv {
namespace {

// The tests are linked into an executable: that is the component's binary.
TEST(ModulePath, IsTheRunningTestProgram) {
  const std::string path = ComponentModulePath();
  ASSERT_FALSE(path.empty());
  EXPECT_TRUE(std::filesystem::path(path).is_absolute());
  EXPECT_EQ(std::filesystem::path(path).filename(), "kdzv_tests");
  EXPECT_EQ(std::filesystem::canonical("/proc/self/exe").string(), path);
}

TEST(ModulePath, LogAndConfigLieBesideIt) {
  const ComponentPaths paths = ComponentPathsFor(ComponentModulePath(), PathSeparator());
  EXPECT_EQ(std::filesystem::path(paths.log_file).parent_path(),
            std::filesystem::path(ComponentModulePath()).parent_path());
  EXPECT_EQ(std::filesystem::path(paths.log_file).filename(), "kdzv_tests.log");
  EXPECT_EQ(std::filesystem::path(paths.config_file).filename(), "kdzv_tests.cfg");
}

}  // namespace
}  // namespace kdzv
