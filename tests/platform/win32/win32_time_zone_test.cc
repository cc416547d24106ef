#include "platform/win32/win32_time_zone.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cmath>
#include <cstdlib>
#include <string>

#include "platform/win32/wide_text.h"
#include "platform/win32/win32_clock.h"

namespace kdzv::win32 {
namespace {

TEST(Win32TimeZoneTest, PassesTheSystemAnswerThrough) {
  TIME_ZONE_INFORMATION expected{};
  const DWORD result = ::GetTimeZoneInformation(&expected);
  Win32TimeZone zone;
  const ZoneInformation info = zone.GetTimeZoneInformation();
  EXPECT_EQ(info.result, static_cast<int32_t>(result));
  EXPECT_EQ(info.bias, expected.Bias);
  EXPECT_EQ(info.daylight_bias, expected.DaylightBias);
}

TEST(Win32TimeZoneTest, Berlin) {
  const char* tz = std::getenv("TZ");
  if (tz == nullptr || std::string(tz) != "Europe/Berlin") {
    GTEST_SKIP() << "needs TZ=Europe/Berlin in the environment";
  }
  Win32TimeZone zone;
  const ZoneInformation info = zone.GetTimeZoneInformation();
  EXPECT_TRUE(info.result == 1 || info.result == 2) << info.result;
  EXPECT_EQ(info.bias, -60);
  EXPECT_EQ(info.daylight_bias, -60);
}

TEST(Win32ClockTest, NowIsTheLocalTime) {
  SYSTEMTIME st{};
  ::GetLocalTime(&st);
  const DateTime expected =
      DateTime::FromFields({st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond});
  Win32Clock clock;
  EXPECT_LE(std::fabs(clock.Now().serial() - expected.serial()) * 86400.0, 5.0);
}

TEST(Win32ClockTest, FormatsFollowTheUserLocale) {
  SYSTEMTIME st{};
  st.wYear = 2024;
  st.wMonth = 7;
  st.wDay = 1;
  st.wDayOfWeek = 1;  // Monday
  st.wHour = 9;
  st.wMinute = 5;
  st.wSecond = 3;
  wchar_t date[128] = {};
  wchar_t time[128] = {};
  ASSERT_GT(::GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &st, nullptr, date, 128), 0);
  ASSERT_GT(::GetTimeFormatW(LOCALE_USER_DEFAULT, 0, &st, nullptr, time, 128), 0);

  Win32Clock clock;
  const DateTime value = DateTime::FromFields({2024, 7, 1, 9, 5, 3});
  const std::string short_date = clock.ShortDate(value);
  const std::string long_time = clock.LongTime(value);
  EXPECT_EQ(short_date, Narrow(date));
  EXPECT_EQ(long_time, Narrow(time));
  EXPECT_NE(short_date.find("24"), std::string::npos) << short_date;
  EXPECT_NE(long_time.find("05"), std::string::npos) << long_time;
  EXPECT_EQ(long_time.find('\0'), std::string::npos);
}

TEST(Win32ClockTest, DatesTheSystemCannotFormatFallBack) {
  SYSTEMTIME st{};
  st.wYear = 1500;
  st.wMonth = 3;
  st.wDay = 4;
  wchar_t date[128] = {};
  const bool system_formats =
      ::GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &st, nullptr, date, 128) > 0;
  Win32Clock clock;
  const DateTime value = DateTime::FromFields({1500, 3, 4, 5, 6, 7});
  EXPECT_EQ(clock.ShortDate(value), system_formats ? Narrow(date) : std::string("04.03.1500"));
}

}  // namespace
}  // namespace kdzv::win32
