#include "mapping/service_host.h"

#include <gtest/gtest.h>

#include "support/fake_profile_file.h"
#include "support/fakes.h"

namespace kdzv {
namespace {

constexpr const char* kCfg = "/opt/halvex/kdZentavo.cfg";

TEST(ServiceHostTest, DefaultWithoutTheKey) {
  test::FakeProfileFile profile;
  EXPECT_EQ(ReadServiceHost(profile, kCfg), "www.zentavo.de");
  ASSERT_EQ(profile.reads.size(), 1u);
  EXPECT_EQ(profile.reads[0].section, "SERVICE");
  EXPECT_EQ(profile.reads[0].key, "WebHost");
  EXPECT_EQ(profile.reads[0].file, kCfg);
}

TEST(ServiceHostTest, TheConfiguredHost) {
  test::FakeProfileFile profile;
  profile.Set(kCfg, "SERVICE", "WebHost", " staging.zentavo.example ");
  EXPECT_EQ(ReadServiceHost(profile, kCfg), "staging.zentavo.example");
}

TEST(ServiceHostTest, AnEmptyValueMeansTheDefault) {
  test::FakeProfileFile profile;
  profile.Set(kCfg, "SERVICE", "WebHost", "");
  EXPECT_EQ(ReadServiceHost(profile, kCfg), "www.zentavo.de");
}

TEST(ServiceHostTest, AFailingReadIsReportedAndGivesTheDefault) {
  test::ScopedProcess process;
  process.ActivateLog();
  test::FakeProfileFile profile;
  profile.fail_reads = ErrorInfo{75, "Path/File access error", ""};
  EXPECT_EQ(ReadServiceHost(profile, kCfg), "www.zentavo.de");
  ASSERT_EQ(process.log.lines.size(), 1u);
  EXPECT_EQ(process.log.lines[0],
            "(MAIN) --> ERROR: 75/Path/File access error / Modul=clZVMatching / "
            "Proc=ReadServiceHost / Details=File=/opt/halvex/kdZentavo.cfg");
}

}  // namespace
}  // namespace kdzv
