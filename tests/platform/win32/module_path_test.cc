#include <gtest/gtest.h>

#include <string>

#include "interface/component_paths.h"
#include "platform/platform.h"

namespace kdzv {
namespace {

bool EndsWith(const std::string& text, const std::string& tail) {
  return text.size() >= tail.size() &&
         text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

// The tests are linked into an executable module: that is the component's binary.
TEST(ModulePath, IsTheRunningTestModule) {
  const std::string path = ComponentModulePath();
  ASSERT_FALSE(path.empty());
  EXPECT_TRUE(EndsWith(path, "\\kdzv_tests.exe")) << path;
  EXPECT_EQ(path.find('/'), std::string::npos) << path;
  EXPECT_EQ(PathSeparator(), '\\');
}

TEST(ModulePath, LogAndConfigLieBesideIt) {
  const std::string path = ComponentModulePath();
  const ComponentPaths paths = ComponentPathsFor(path, PathSeparator());
  const std::string folder = path.substr(0, path.rfind('\\') + 1);
  EXPECT_EQ(paths.log_file, folder + "kdzv_tests.log");
  EXPECT_EQ(paths.config_file, folder + "kdzv_tests.cfg");
}

}  // namespace
}  // namespace kdzv
