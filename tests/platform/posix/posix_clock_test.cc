#include "platform/posix/posix_clock.h"

#include <gtest/gtest.h>
#include <time.h>

#include <cmath>

namespace kdzv::posix {
namespace {

TEST(PosixClockTest, FormatsOfAKnownValue) {
  PosixClock clock;
  const DateTime value = DateTime::FromFields({2024, 7, 1, 9, 5, 3});
  EXPECT_EQ(clock.ShortDate(value), "01.07.2024");
  EXPECT_EQ(clock.LongTime(value), "09:05:03");
  EXPECT_EQ(clock.ShortDate(DateTime()), "30.12.1899");
  EXPECT_EQ(clock.LongTime(DateTime()), "00:00:00");
}

TEST(PosixClockTest, NowIsTheLocalTime) {
  PosixClock clock;
  const time_t now = ::time(nullptr);
  struct tm local {};
  ASSERT_NE(::localtime_r(&now, &local), nullptr);
  const DateTime expected = DateTime::FromFields({local.tm_year + 1900, local.tm_mon + 1,
                                                  local.tm_mday, local.tm_hour, local.tm_min,
                                                  local.tm_sec});
  const DateTime actual = clock.Now();
  EXPECT_LE(std::fabs(actual.serial() - expected.serial()) * 86400.0, 5.0);
  // Whole seconds only.
  const double seconds = actual.serial() * 86400.0;
  EXPECT_NEAR(seconds, std::round(seconds), 1e-3);
}

}  // namespace
}  // namespace kdzv::posix
