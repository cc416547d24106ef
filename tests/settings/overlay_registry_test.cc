#include "settings/overlay_registry.h"

#include <gtest/gtest.h>

#include "settings/zv_settings.h"
#include "support/fake_registry.h"
#include "support/fakes.h"

namespace kdzv {
namespace {

TEST(OverlayRegistryTest, ReadsTheStoredSettingsAndKeepsChangesToItself) {
  test::ScopedProcess process;
  test::FakeRegistry stored;
  {
    clZVSettings settings(stored);
    settings.SetUploadPath("/srv/up");
    settings.SetFilePraefix("HX");
  }
  OverlayRegistry overlay(stored);
  {
    clZVSettings settings(overlay);
    EXPECT_EQ(settings.UploadPath(), "/srv/up");
    settings.SetUploadPath("/tmp/up");
    settings.SetDoLog(true);
    EXPECT_EQ(settings.UploadPath(), "/tmp/up");
    clZVSettings again(overlay);
    EXPECT_EQ(again.UploadPath(), "/tmp/up");
    EXPECT_TRUE(again.DoLog());
    EXPECT_EQ(again.FilePraefix(), "HX");
  }
  clZVSettings untouched(stored);
  EXPECT_EQ(untouched.UploadPath(), "/srv/up");
  EXPECT_FALSE(untouched.DoLog());
  EXPECT_TRUE(process.Reports().empty());
}

TEST(OverlayRegistryTest, WorksWithoutAnyStoredKey) {
  test::ScopedProcess process;
  test::FakeRegistry empty;
  OverlayRegistry overlay(empty);
  clZVSettings settings(overlay);
  EXPECT_EQ(settings.UploadPath(), "");
  settings.SetUploadPath("/tmp/up");
  EXPECT_EQ(clZVSettings(overlay).UploadPath(), "/tmp/up");
  clZVSettings below(empty);
  EXPECT_EQ(below.UploadPath(), "");
}

}  // namespace
}  // namespace kdzv
