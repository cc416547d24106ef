#include "util/date_time.h"

#include <gtest/gtest.h>

#include <limits>

#include <cstdint>
#include <functional>

#include "util/error.h"

namespace kdzv {
namespace {

DateTime At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return DateTime::FromFields({year, month, day, hour, minute, second});
}

DateTime::Fields F(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return DateTime::Fields{year, month, day, hour, minute, second};
}

int32_t RaisedNumber(const std::function<void()>& action) {
  try {
    action();
  } catch (const Error& e) {
    return e.number();
  }
  return 0;
}

TEST(DateTimeTest, ZeroDateIsThirtiethOfDecember1899) {
  const DateTime zero;
  EXPECT_TRUE(zero.IsZero());
  EXPECT_EQ(zero.serial(), 0.0);
  EXPECT_EQ(zero.Split(), F(1899, 12, 30, 0, 0, 0));
  EXPECT_EQ(zero.ToIsoText(), "1899-12-30T00:00:00");
  EXPECT_EQ(DateTime::FromDate(1899, 12, 30), zero);
  EXPECT_FALSE(DateTime::FromDate(1899, 12, 31).IsZero());
}

TEST(DateTimeTest, DayNumbers) {
  EXPECT_EQ(DateTime::FromDate(1900, 1, 1).serial(), 2.0);
  EXPECT_EQ(DateTime::FromDate(1899, 12, 31).serial(), 1.0);
  EXPECT_EQ(DateTime::FromDate(2024, 7, 1).serial(), 45474.0);
  EXPECT_EQ(DateTime::FromDate(1899, 12, 29).serial(), -1.0);
  EXPECT_EQ(DateTime::FromDate(100, 1, 1).serial(), -657434.0);
  EXPECT_EQ(DateTime::FromDate(9999, 12, 31).serial(), 2958465.0);
  EXPECT_EQ(DateTime::FromSerial(45474.0).Split(), F(2024, 7, 1));
}

TEST(DateTimeTest, FromDateRollsMonthAndDayOver) {
  EXPECT_EQ(DateTime::FromDate(2023, 13, 1), DateTime::FromDate(2024, 1, 1));
  EXPECT_EQ(DateTime::FromDate(2024, 1, 32), DateTime::FromDate(2024, 2, 1));
  EXPECT_EQ(DateTime::FromDate(2024, 3, 0), DateTime::FromDate(2024, 2, 29));
  EXPECT_EQ(DateTime::FromDate(2023, 3, 0), DateTime::FromDate(2023, 2, 28));
  EXPECT_EQ(DateTime::FromDate(2024, 0, 1), DateTime::FromDate(2023, 12, 1));
  EXPECT_EQ(DateTime::FromDate(2024, -1, 15), DateTime::FromDate(2023, 11, 15));
  EXPECT_EQ(DateTime::FromDate(2024, 25, 1), DateTime::FromDate(2026, 1, 1));
  EXPECT_EQ(DateTime::FromDate(2024, 2, 30), DateTime::FromDate(2024, 3, 1));
  EXPECT_EQ(DateTime::FromDate(2024, 12, 32), DateTime::FromDate(2025, 1, 1));
  EXPECT_EQ(DateTime::FromDate(2024, 1, -1), DateTime::FromDate(2023, 12, 30));
  EXPECT_EQ(DateTime::FromDate(2024, 1, 366), DateTime::FromDate(2024, 12, 31));
}

TEST(DateTimeTest, TwoDigitYears) {
  EXPECT_EQ(DateTime::FromDate(0, 1, 1), DateTime::FromDate(2000, 1, 1));
  EXPECT_EQ(DateTime::FromDate(24, 7, 1), DateTime::FromDate(2024, 7, 1));
  EXPECT_EQ(DateTime::FromDate(29, 12, 31), DateTime::FromDate(2029, 12, 31));
  EXPECT_EQ(DateTime::FromDate(30, 1, 1), DateTime::FromDate(1930, 1, 1));
  EXPECT_EQ(DateTime::FromDate(99, 12, 31), DateTime::FromDate(1999, 12, 31));
  // The year is read before the month rolls over.
  EXPECT_EQ(DateTime::FromDate(99, 13, 1), DateTime::FromDate(2000, 1, 1));
  EXPECT_EQ(DateTime::FromDate(100, 1, 1).Split(), F(100, 1, 1));
}

TEST(DateTimeTest, FromDateOutsideTheCalendarRaisesInvalidCall) {
  EXPECT_EQ(RaisedNumber([] { DateTime::FromDate(10000, 1, 1); }), 5);
  EXPECT_EQ(RaisedNumber([] { DateTime::FromDate(9999, 12, 32); }), 5);
  EXPECT_EQ(RaisedNumber([] { DateTime::FromDate(100, 1, 0); }), 5);
  EXPECT_EQ(RaisedNumber([] { DateTime::FromDate(-1, 1, 1); }), 5);
  EXPECT_EQ(RaisedNumber([] { DateTime::FromDate(9999, 12, 31); }), 0);
  try {
    DateTime::FromDate(10000, 1, 1);
    FAIL();
  } catch (const Error& e) {
    EXPECT_EQ(e.description(), "Invalid procedure call or argument");
  }
}

TEST(DateTimeTest, FromTimeIsTheFractionOfADay) {
  EXPECT_EQ(DateTime::FromTime(12, 0, 0).serial(), 0.5);
  EXPECT_EQ(DateTime::FromTime(6, 0, 0).serial(), 0.25);
  EXPECT_EQ(DateTime::FromTime(0, 90, 0).serial(), 1.5 / 24.0);
  EXPECT_EQ(DateTime::FromTime(0, 0, 3600).serial(), 1.0 / 24.0);
  EXPECT_EQ(DateTime::FromTime(25, 0, 0).serial(), 25.0 / 24.0);
  EXPECT_EQ(DateTime::FromTime(25, 0, 0).Split(), F(1899, 12, 31, 1, 0, 0));
  EXPECT_EQ(DateTime::FromTime(-1, 0, 0).serial(), -1.0 / 24.0);
  EXPECT_EQ(DateTime::FromTime(10, 0, 0).Split(), F(1899, 12, 30, 10, 0, 0));
}

TEST(DateTimeTest, FromFieldsNormalisesTheTime) {
  EXPECT_EQ(At(2024, 7, 1, 24, 0, 0), At(2024, 7, 2));
  EXPECT_EQ(At(2024, 7, 1, 10, 60, 0), At(2024, 7, 1, 11, 0, 0));
  EXPECT_EQ(At(2024, 7, 1, 0, 0, -1), At(2024, 6, 30, 23, 59, 59));
  EXPECT_EQ(At(2024, 7, 1, 12, 0, 0).serial(), 45474.5);
  EXPECT_EQ(At(2024, 7, 1, 10, 0, 0).Split(), F(2024, 7, 1, 10, 0, 0));
  EXPECT_EQ(At(2024, 13, 1, 10, 0, 0).Split(), F(2025, 1, 1, 10, 0, 0));
  EXPECT_EQ(RaisedNumber([] { At(9999, 12, 31, 24, 0, 0); }), 5);
}

TEST(DateTimeTest, NegativeSerialCountsDaysBackwardsAndTimeForwards) {
  EXPECT_EQ(DateTime::FromSerial(-1.25).Split(), F(1899, 12, 29, 6, 0, 0));
  EXPECT_EQ(DateTime::FromSerial(-1.75).Split(), F(1899, 12, 29, 18, 0, 0));
  EXPECT_EQ(DateTime::FromSerial(-2.5).Split(), F(1899, 12, 28, 12, 0, 0));
  EXPECT_EQ(At(1899, 12, 29, 6, 0, 0).serial(), -1.25);
  EXPECT_EQ(At(1899, 12, 29, 18, 0, 0).serial(), -1.75);
  EXPECT_EQ(DateTime::FromSerial(-1.25).ToIsoText(), "1899-12-29T06:00:00");
  // Between -1 and 0 the whole part is the zero day.
  EXPECT_EQ(DateTime::FromSerial(-0.5).Split(), F(1899, 12, 30, 12, 0, 0));
}

TEST(DateTimeTest, AddMinutesAcrossMidnight) {
  EXPECT_EQ(At(2024, 7, 1, 23, 30, 0).AddMinutes(60), At(2024, 7, 2, 0, 30, 0));
  EXPECT_EQ(At(2024, 7, 2, 0, 30, 0).AddMinutes(-60), At(2024, 7, 1, 23, 30, 0));
  EXPECT_EQ(At(2024, 7, 1, 12, 0, 0).AddMinutes(-120), At(2024, 7, 1, 10, 0, 0));
  EXPECT_EQ(At(2024, 7, 1, 12, 0, 0).AddMinutes(0), At(2024, 7, 1, 12, 0, 0));
  EXPECT_EQ(At(2024, 7, 1, 0, 0, 0).AddMinutes(-1).Split(), F(2024, 6, 30, 23, 59, 0));
}

TEST(DateTimeTest, AddMinutesAcrossMonthAndYearEnds) {
  EXPECT_EQ(At(2024, 1, 31, 23, 0, 0).AddMinutes(120), At(2024, 2, 1, 1, 0, 0));
  EXPECT_EQ(At(2024, 4, 30, 23, 59, 0).AddMinutes(1), At(2024, 5, 1));
  EXPECT_EQ(At(2024, 12, 31, 23, 0, 0).AddMinutes(60), At(2025, 1, 1));
  EXPECT_EQ(At(2025, 1, 1, 0, 30, 0).AddMinutes(-60), At(2024, 12, 31, 23, 30, 0));
}

TEST(DateTimeTest, AddMinutesAcrossLeapDay) {
  EXPECT_EQ(At(2024, 2, 28, 23, 0, 0).AddMinutes(60), At(2024, 2, 29));
  EXPECT_EQ(At(2024, 2, 29, 23, 0, 0).AddMinutes(60), At(2024, 3, 1));
  EXPECT_EQ(At(2023, 2, 28, 23, 0, 0).AddMinutes(60), At(2023, 3, 1));
  EXPECT_EQ(At(2024, 3, 1, 0, 0, 0).AddMinutes(-1).Split(), F(2024, 2, 29, 23, 59, 0));
  EXPECT_EQ(At(2000, 2, 28, 12, 0, 0).AddMinutes(1440), At(2000, 2, 29, 12, 0, 0));
  EXPECT_EQ(At(1900, 2, 28, 12, 0, 0).AddMinutes(1440), At(1900, 3, 1, 12, 0, 0));
}

TEST(DateTimeTest, AddMinutesAcrossTheZeroDay) {
  const DateTime six = DateTime::FromSerial(0.25);  // 30 Dec 1899 06:00
  const DateTime back = six.AddMinutes(-420);
  EXPECT_EQ(back.Split(), F(1899, 12, 29, 23, 0, 0));
  EXPECT_DOUBLE_EQ(back.serial(), -1.0 - 23.0 / 24.0);
  EXPECT_EQ(back.AddMinutes(420), six);
  EXPECT_EQ(DateTime::FromSerial(-1.25).AddMinutes(1440).serial(), 0.25);
  EXPECT_EQ(DateTime::FromSerial(-1.25).AddMinutes(60).serial(), -1.0 - 7.0 / 24.0);
  EXPECT_EQ(DateTime().AddMinutes(-1).Split(), F(1899, 12, 29, 23, 59, 0));
  EXPECT_EQ(DateTime().AddMinutes(-1440).serial(), -1.0);
  EXPECT_EQ(DateTime::FromSerial(-1.0).AddMinutes(1440), DateTime());
}

TEST(DateTimeTest, AddMinutesOutsideTheCalendarRaisesInvalidCall) {
  EXPECT_EQ(RaisedNumber([] { At(9999, 12, 31, 23, 30, 0).AddMinutes(30); }), 5);
  EXPECT_EQ(RaisedNumber([] { At(9999, 12, 31, 23, 30, 0).AddMinutes(29); }), 0);
  EXPECT_EQ(RaisedNumber([] { At(100, 1, 1).AddMinutes(-1); }), 5);
  EXPECT_EQ(RaisedNumber([] { DateTime().AddMinutes(INT64_MAX); }), 5);
  EXPECT_EQ(RaisedNumber([] { DateTime().AddMinutes(INT64_MIN); }), 5);
}

TEST(DateTimeTest, SplitRoundsToTheNearestSecond) {
  const double day = 45474.0;
  EXPECT_EQ(DateTime::FromSerial(day + (36000.4) / 86400.0).Split(), F(2024, 7, 1, 10, 0, 0));
  EXPECT_EQ(DateTime::FromSerial(day + (36000.6) / 86400.0).Split(), F(2024, 7, 1, 10, 0, 1));
  EXPECT_EQ(DateTime::FromSerial(day + (86399.7) / 86400.0).Split(), F(2024, 7, 2, 0, 0, 0));
  EXPECT_EQ(DateTime::FromSerial(day + 1.0 / 3.0).Split(), F(2024, 7, 1, 8, 0, 0));
}

TEST(DateTimeTest, FormatTokens) {
  const DateTime t = At(2024, 7, 1, 9, 5, 3);
  EXPECT_EQ(t.Format("yyyymmdd"), "20240701");
  EXPECT_EQ(t.Format("hhnnss"), "090503");
  EXPECT_EQ(t.Format("yyyymmddhhnnss"), "20240701090503");
  EXPECT_EQ(t.Format("dd.mm.yyyy"), "01.07.2024");
  EXPECT_EQ(t.Format("hh:nn:ss"), "09:05:03");
  EXPECT_EQ(t.Format("x/yyyy-mm T"), "x/2024-07 T");
  EXPECT_EQ(t.Format(""), "");
  EXPECT_EQ(At(2024, 7, 1, 10, 0, 0).Format("yyyymmdd") + "T" +
                At(2024, 7, 1, 10, 0, 0).Format("hhnnss") + "Z",
            "20240701T100000Z");
  EXPECT_EQ(At(999, 1, 2).Format("yyyy"), "0999");
  EXPECT_EQ(At(2024, 12, 31, 23, 59, 59).Format("yyyymmddhhnnss"), "20241231235959");
}

TEST(DateTimeTest, IsoText) {
  EXPECT_EQ(At(2024, 7, 1, 10, 0, 0).ToIsoText(), "2024-07-01T10:00:00");
  EXPECT_EQ(DateTime::ParseIsoText("2024-07-01"), At(2024, 7, 1));
  EXPECT_EQ(DateTime::ParseIsoText("2024-07-01 10:20:30"), At(2024, 7, 1, 10, 20, 30));
  EXPECT_EQ(DateTime::ParseIsoText("2024-07-01T10:20:30"), At(2024, 7, 1, 10, 20, 30));
  EXPECT_EQ(DateTime::ParseIsoText("2024-02-29"), At(2024, 2, 29));
  EXPECT_EQ(DateTime::ParseIsoText("1899-12-29T06:00:00")->serial(), -1.25);
  EXPECT_FALSE(DateTime::ParseIsoText("2023-02-29"));
  EXPECT_FALSE(DateTime::ParseIsoText("2024-13-01"));
  EXPECT_FALSE(DateTime::ParseIsoText("2024-00-01"));
  EXPECT_FALSE(DateTime::ParseIsoText("2024-07-32"));
  EXPECT_FALSE(DateTime::ParseIsoText("2024-07-01T24:00:00"));
  EXPECT_FALSE(DateTime::ParseIsoText("2024-07-01T10:60:00"));
  EXPECT_FALSE(DateTime::ParseIsoText("2024-07-01T10:00:60"));
  EXPECT_FALSE(DateTime::ParseIsoText("2024-7-1"));
  EXPECT_FALSE(DateTime::ParseIsoText("2024-07-01X10:00:00"));
  EXPECT_FALSE(DateTime::ParseIsoText("2024-07-01 10:00"));
  EXPECT_FALSE(DateTime::ParseIsoText("2024-07-0a"));
  EXPECT_FALSE(DateTime::ParseIsoText("0099-07-01"));
  EXPECT_FALSE(DateTime::ParseIsoText(""));
  const DateTime t = At(2031, 3, 4, 5, 6, 7);
  EXPECT_EQ(DateTime::ParseIsoText(t.ToIsoText()), t);
}

TEST(DateTimeTest, OrderFollowsSerial) {
  EXPECT_LT(At(2024, 7, 1), At(2024, 7, 1, 0, 0, 1));
  EXPECT_GT(At(2025, 1, 1), At(2024, 12, 31, 23, 59, 59));
  EXPECT_EQ(At(2024, 7, 1, 12, 0, 0), DateTime::FromSerial(45474.5));
}

TEST(DateTimeTest, DayPartCutsTheTimeOfDay) {
  EXPECT_EQ(DateTime::FromSerial(45474.75).DayPart(), DateTime::FromDate(2024, 7, 1));
  // Before the zero day the whole part counts the days: 29 December 1899.
  EXPECT_EQ(DateTime::FromSerial(-1.25).DayPart().serial(), -1.0);
  EXPECT_EQ(DateTime::FromDate(9999, 12, 31).AddMinutes(1439).DayPart(),
            DateTime::FromDate(9999, 12, 31));
  EXPECT_EQ(DateTime::FromDate(100, 1, 1).DayPart(), DateTime::FromDate(100, 1, 1));
}

TEST(DateTimeTest, DayPartOfNoDateTheHostCanHoldIsAnOverflow) {
  for (const double serial : {1e30, -1e30, 2958466.0, -657435.0,
                              std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_EQ(RaisedNumber([serial] { DateTime::FromSerial(serial).DayPart(); }), 6) << serial;
  }
}

TEST(DateTimeTest, FieldsInRangeAreThoseThatSplitGivesBack) {
  using F = DateTime::Fields;
  for (const F& f : {F{100, 1, 1, 0, 0, 0}, F{9999, 12, 31, 23, 59, 59}, F{2024, 2, 29, 12, 0, 0},
                     F{2000, 2, 29, 0, 0, 0}, F{2023, 4, 30, 6, 30, 0}}) {
    EXPECT_TRUE(f.InRange()) << f.year << "-" << f.month << "-" << f.day;
    EXPECT_EQ(DateTime::FromFields(f).Split(), f) << f.year << "-" << f.month << "-" << f.day;
  }
  for (const F& f : {F{99, 12, 31, 0, 0, 0}, F{10000, 1, 1, 0, 0, 0}, F{2023, 2, 29, 0, 0, 0},
                     F{1900, 2, 29, 0, 0, 0}, F{2024, 4, 31, 0, 0, 0}, F{2024, 0, 1, 0, 0, 0},
                     F{2024, 13, 1, 0, 0, 0}, F{2024, 1, 0, 0, 0, 0}, F{2024, 1, 1, 24, 0, 0},
                     F{2024, 1, 1, 0, 60, 0}, F{2024, 1, 1, 0, 0, 60}, F{2024, 1, 1, -1, 0, 0}}) {
    EXPECT_FALSE(f.InRange()) << f.year << "-" << f.month << "-" << f.day << " " << f.hour << ":"
                              << f.minute << ":" << f.second;
  }
}

}  // namespace
}  // namespace kdzv
