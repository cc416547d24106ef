#include "interface/component_paths.h"

#include <gtest/gtest.h>

namespace kdzv {
namespace {

TEST(ComponentPaths, BesideTheDllWithItsBaseName) {
  const ComponentPaths p = ComponentPathsFor("C:\\Programme\\Halvex\\kdZentavo.dll", '\\');
  EXPECT_EQ(p.folder, "C:\\Programme\\Halvex\\");
  EXPECT_EQ(p.base_name, "kdZentavo");
  EXPECT_EQ(p.log_file, "C:\\Programme\\Halvex\\kdZentavo.log");
  EXPECT_EQ(p.config_file, "C:\\Programme\\Halvex\\kdZentavo.cfg");
}

TEST(ComponentPaths, DriveRootGetsNoDoubledSeparator) {
  const ComponentPaths p = ComponentPathsFor("D:\\kdZentavo.dll", '\\');
  EXPECT_EQ(p.log_file, "D:\\kdZentavo.log");
  EXPECT_EQ(p.config_file, "D:\\kdZentavo.cfg");
}

TEST(ComponentPaths, LinuxSharedObjectAndRoot) {
  EXPECT_EQ(ComponentPathsFor("/usr/lib/kdzentavo/libkdzentavo.so", '/').log_file,
            "/usr/lib/kdzentavo/libkdzentavo.log");
  EXPECT_EQ(ComponentPathsFor("/zvsync", '/').config_file, "/zvsync.cfg");
}

TEST(ComponentPaths, OnlyTheLastExtensionIsCut) {
  EXPECT_EQ(ComponentPathsFor("/opt/kd.zentavo.so", '/').base_name, "kd.zentavo");
  EXPECT_EQ(ComponentPathsFor("/opt/zvsync", '/').log_file, "/opt/zvsync.log");
}

TEST(ComponentPaths, ForwardSlashesOnWindowsAreSeparatorsToo) {
  EXPECT_EQ(ComponentPathsFor("C:/Halvex/kdZentavo.dll", '\\').log_file,
            "C:/Halvex/kdZentavo.log");
}

}  // namespace
}  // namespace kdzv
