#include "platform/posix/posix_time_zone.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include <optional>
#include <string>

#include "mapping/date_time_convert.h"
#include "support/fakes.h"

namespace kdzv::posix {
namespace {

// Sets TZ for one test and puts the previous value back afterwards.
class ScopedTz {
 public:
  explicit ScopedTz(const char* zone) {
    if (const char* old = ::getenv("TZ")) saved_ = old;
    ::setenv("TZ", zone, 1);
    ::tzset();
  }
  ~ScopedTz() {
    if (saved_) {
      ::setenv("TZ", saved_->c_str(), 1);
    } else {
      ::unsetenv("TZ");
    }
    ::tzset();
  }
  ScopedTz(const ScopedTz&) = delete;
  ScopedTz& operator=(const ScopedTz&) = delete;

 private:
  std::optional<std::string> saved_;
};

bool DaylightNow() {
  const time_t now = ::time(nullptr);
  struct tm local {};
  ::localtime_r(&now, &local);
  return local.tm_isdst > 0;
}

TEST(PosixTimeZoneTest, Berlin) {
  ScopedTz tz("Europe/Berlin");
  PosixTimeZone zone;
  const ZoneInformation info = zone.GetTimeZoneInformation();
  EXPECT_EQ(info.bias, -60);
  EXPECT_EQ(info.daylight_bias, -60);
  EXPECT_EQ(info.result, DaylightNow() ? 2 : 1);
}

TEST(PosixTimeZoneTest, Utc) {
  ScopedTz tz("UTC");
  PosixTimeZone zone;
  const ZoneInformation info = zone.GetTimeZoneInformation();
  EXPECT_EQ(info.result, 0);
  EXPECT_EQ(info.bias, 0);
  EXPECT_EQ(info.daylight_bias, 0);
}

TEST(PosixTimeZoneTest, NewYork) {
  ScopedTz tz("America/New_York");
  PosixTimeZone zone;
  const ZoneInformation info = zone.GetTimeZoneInformation();
  EXPECT_EQ(info.bias, 300);
  EXPECT_EQ(info.daylight_bias, -60);
  EXPECT_EQ(info.result, DaylightNow() ? 2 : 1);
}

TEST(PosixTimeZoneTest, ZoneWithoutDaylightSavingEastOfUtc) {
  ScopedTz tz("Asia/Kolkata");
  PosixTimeZone zone;
  const ZoneInformation info = zone.GetTimeZoneInformation();
  EXPECT_EQ(info.result, 0);
  EXPECT_EQ(info.bias, -330);
  EXPECT_EQ(info.daylight_bias, 0);
}

TEST(PosixTimeZoneTest, SouthernHemisphere) {
  ScopedTz tz("Australia/Sydney");
  PosixTimeZone zone;
  const ZoneInformation info = zone.GetTimeZoneInformation();
  EXPECT_EQ(info.bias, -600);
  EXPECT_EQ(info.daylight_bias, -60);
  EXPECT_EQ(info.result, DaylightNow() ? 2 : 1);
}

TEST(PosixTimeZoneTest, ZoneChangesAreSeenOnEveryCall) {
  PosixTimeZone zone;
  {
    ScopedTz tz("Europe/Berlin");
    EXPECT_EQ(zone.GetTimeZoneInformation().bias, -60);
  }
  {
    ScopedTz tz("America/New_York");
    EXPECT_EQ(zone.GetTimeZoneInformation().bias, 300);
  }
}

TEST(PosixTimeZoneTest, ConvertsBothWaysInBerlin) {
  ScopedTz tz("Europe/Berlin");
  test::ScopedProcess process;
  PosixTimeZone zone;
  const DateTime local = DateTime::FromFields({2024, 7, 1, 12, 0, 0});
  EXPECT_EQ(modDateTimeConvert::ConvertLocalToZentavoDateTime(local, zone), "20240701T100000Z");
  EXPECT_EQ(modDateTimeConvert::ConvertZentavoToLocalDateTime("20240701T100000Z", zone), local);
  EXPECT_EQ(modDateTimeConvert::ConvertLocalToZentavoDateTime(
                DateTime::FromFields({2024, 12, 1, 12, 0, 0}), zone),
            "20241201T110000Z");
  EXPECT_TRUE(process.Reports().empty());
}

}  // namespace
}  // namespace kdzv::posix
