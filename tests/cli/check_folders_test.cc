#include "cli/check_folders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "cli/zvsync.h"
#include "platform/platform.h"
#include "settings/zv_settings.h"
#include "support/fake_registry.h"
#include "support/fakes.h"

namespace kdzv {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class CheckFoldersTest : public ::testing::Test {
 protected:
  int Run() {
    out.str("");
    err.str("");
    CliContext context{zone, registry, System().xml_parser, System().file_system, out, err};
    return RunZvsync({"settings", "check-folders"}, context);
  }
  clZVSettings Settings() { return clZVSettings(registry); }

  test::ScopedProcess scoped;
  test::FixedZone zone{1, -60, -60};
  test::FakeRegistry registry;
  test::TempDir dir;
  std::ostringstream out, err;
};

TEST_F(CheckFoldersTest, MissingFoldersAreMadeAndTheAnswerIsOK) {
  {
    clZVSettings settings(registry);
    settings.SetUploadPath(dir.File("zv") + "/up");
    settings.SetDownloadPath(dir.File("zv") + "/down");
    settings.SetAblagePath(dir.File("zv") + "/ablage");
  }
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(out.str(), "OK\n");
  EXPECT_EQ(err.str(), "");
  EXPECT_TRUE(fs::is_directory(dir.File("zv") + "/up"));
  EXPECT_TRUE(fs::is_directory(dir.File("zv") + "/down"));
  EXPECT_TRUE(fs::is_directory(dir.File("zv") + "/ablage"));
  // Folders that exist already are fine too.
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(out.str(), "OK\n");
}

TEST_F(CheckFoldersTest, EachFolderThatCannotBeMadeIsNamedWithItsReason) {
  test::WriteFileBytes(dir.File("datei"), "x");
  {
    clZVSettings settings(registry);
    settings.SetUploadPath(dir.File("datei"));                // a file in its place
    settings.SetDownloadPath("");                             // not set
    settings.SetAblagePath(dir.File("datei") + "/unter");     // below a file
  }
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(out.str(), "");
  const std::string lines = err.str();
  EXPECT_THAT(lines, HasSubstr("upload folder \"" + dir.File("datei") +
                               "\": it exists and is not a folder\n"));
  EXPECT_THAT(lines, HasSubstr("download folder: not set\n"));
  EXPECT_THAT(lines, HasSubstr("depot folder \"" + dir.File("datei") + "/unter\": "));
  EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 3);
}

TEST_F(CheckFoldersTest, AnEmptyDepotMeansNoDepotAndIsFine) {
  clZVSettings settings(registry);
  settings.SetUploadPath(dir.File("up"));
  settings.SetDownloadPath(dir.File("down"));
  settings.SetAblagePath("");
  EXPECT_THAT(CheckFolders(settings), ElementsAre("OK"));
}

}  // namespace
}  // namespace kdzv
