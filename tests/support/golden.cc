#include "support/golden.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/fakes.h"

namespace kdzv::test {

std::string TestDataPath(std::string_view relative) {
  return (std::filesystem::path(KDZV_TEST_DATA_DIR) / std::filesystem::path(relative)).string();
}

std::string Golden(std::string_view relative) {
  const std::string path = TestDataPath(std::string("golden/") + std::string(relative));
  EXPECT_TRUE(std::filesystem::exists(path)) << "missing golden file " << path;
  return ReadFileBytes(path);
}

}  // namespace kdzv::test
