#include "mapping/date_time_convert.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "support/fakes.h"

namespace kdzv::modDateTimeConvert {
namespace {

using test::FixedZone;
using test::ScopedProcess;

constexpr int32_t kInvalidZone = static_cast<int32_t>(0xFFFFFFFFu);

DateTime At(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
  return DateTime::FromFields({year, month, day, hour, minute, second});
}

std::string ErrorLine(const std::string& report) { return "(MAIN) --> ERROR: " + report; }

// A zone one hour east of UTC with one hour of daylight saving, in standard
// time now.
class DateTimeConvertTest : public ::testing::Test {
 protected:
  ScopedProcess process_;
  FixedZone zone_{1, -60, -60};
};

TEST_F(DateTimeConvertTest, LocalSummerInstantToService) {
  EXPECT_EQ(ConvertLocalToZentavoDateTime(At(2024, 7, 1, 12, 0, 0), zone_), "20240701T100000Z");
}

TEST_F(DateTimeConvertTest, LocalWinterInstantToService) {
  EXPECT_EQ(ConvertLocalToZentavoDateTime(At(2024, 12, 1, 12, 0, 0), zone_), "20241201T110000Z");
}

TEST_F(DateTimeConvertTest, ServiceSummerInstantToLocal) {
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20240701T100000Z", zone_), At(2024, 7, 1, 12, 0, 0));
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20241201T110000Z", zone_), At(2024, 12, 1, 12, 0, 0));
  EXPECT_TRUE(process_.Reports().empty());
}

TEST_F(DateTimeConvertTest, TheCurrentTimeOfTheZoneDoesNotMatter) {
  FixedZone daylight_now(2, -60, -60);
  EXPECT_EQ(ConvertLocalToZentavoDateTime(At(2024, 7, 1, 12, 0, 0), daylight_now),
            "20240701T100000Z");
  EXPECT_EQ(ConvertLocalToZentavoDateTime(At(2024, 12, 1, 12, 0, 0), daylight_now),
            "20241201T110000Z");
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20240701T100000Z", daylight_now),
            At(2024, 7, 1, 12, 0, 0));
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20241201T110000Z", daylight_now),
            At(2024, 12, 1, 12, 0, 0));
}

TEST_F(DateTimeConvertTest, ServiceInstantInMarchGapAfter2011IsWinterTime) {
  // From 2012 on the service table uses the 03:00:00 bound, so 02:00 UTC on
  // the switch day is still winter time and gets -Bias only.
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20240331T020000Z", zone_), At(2024, 3, 31, 3, 0, 0));
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20240331T010000Z", zone_), At(2024, 3, 31, 2, 0, 0));
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20240331T030000Z", zone_), At(2024, 3, 31, 5, 0, 0));
}

TEST_F(DateTimeConvertTest, ServiceInstantInOctoberGapAfter2011IsSummerTime) {
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20241027T010000Z", zone_), At(2024, 10, 27, 3, 0, 0));
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20241027T025959Z", zone_), At(2024, 10, 27, 4, 59, 59));
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20241027T030000Z", zone_), At(2024, 10, 27, 4, 0, 0));
}

TEST_F(DateTimeConvertTest, ServiceTableUpTo2011UsesUtcSwitchInstants) {
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20110327T010000Z", zone_), At(2011, 3, 27, 3, 0, 0));
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20110327T005959Z", zone_), At(2011, 3, 27, 1, 59, 59));
}

TEST_F(DateTimeConvertTest, LocalOctoberSwitch) {
  EXPECT_EQ(ConvertLocalToZentavoDateTime(At(2024, 10, 27, 2, 59, 59), zone_), "20241027T005959Z");
  EXPECT_EQ(ConvertLocalToZentavoDateTime(At(2024, 10, 27, 3, 0, 0), zone_), "20241027T020000Z");
}

TEST_F(DateTimeConvertTest, LocalMarchSwitch) {
  EXPECT_EQ(ConvertLocalToZentavoDateTime(At(2024, 3, 31, 3, 0, 0), zone_), "20240331T010000Z");
  EXPECT_EQ(ConvertLocalToZentavoDateTime(At(2024, 3, 31, 2, 59, 59), zone_), "20240331T015959Z");
}

TEST_F(DateTimeConvertTest, NoSummerTimeAfter2030OrBefore2007) {
  FixedZone new_york(1, 300, -60);
  for (TimeZoneSource* zone : std::vector<TimeZoneSource*>{&zone_, &new_york}) {
    const int32_t bias = zone == &zone_ ? -60 : 300;
    const DateTime summer_2031 = At(2031, 7, 1, 12, 0, 0);
    const DateTime summer_2006 = At(2006, 7, 1, 12, 0, 0);
    EXPECT_EQ(ConvertLocalToZentavoDateTime(summer_2031, *zone),
              summer_2031.AddMinutes(bias).Format("yyyymmddThhnnssZ"));
    EXPECT_EQ(ConvertLocalToZentavoDateTime(summer_2006, *zone),
              summer_2006.AddMinutes(bias).Format("yyyymmddThhnnssZ"));
    EXPECT_EQ(ConvertLocalToZentavoDateTime(At(2099, 8, 1), *zone),
              At(2099, 8, 1).AddMinutes(bias).Format("yyyymmddThhnnssZ"));
    EXPECT_EQ(ConvertZentavoToLocalDateTime("20310701T120000Z", *zone),
              At(2031, 7, 1, 12, 0, 0).AddMinutes(-bias));
    EXPECT_EQ(ConvertZentavoToLocalDateTime("20060701T120000Z", *zone),
              At(2006, 7, 1, 12, 0, 0).AddMinutes(-bias));
  }
  // The edges of the tables.
  EXPECT_EQ(ConvertLocalToZentavoDateTime(At(2007, 3, 25, 2, 59, 59), zone_), "20070325T015959Z");
  EXPECT_EQ(ConvertLocalToZentavoDateTime(At(2007, 3, 25, 3, 0, 0), zone_), "20070325T010000Z");
  EXPECT_EQ(ConvertLocalToZentavoDateTime(At(2030, 10, 27, 2, 59, 59), zone_), "20301027T005959Z");
  EXPECT_EQ(ConvertLocalToZentavoDateTime(At(2030, 10, 27, 3, 0, 0), zone_), "20301027T020000Z");
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20070325T005959Z", zone_), At(2007, 3, 25, 1, 59, 59));
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20301027T030000Z", zone_), At(2030, 10, 27, 4, 0, 0));
}

TEST_F(DateTimeConvertTest, WrongLengthGivesZeroDateSilently) {
  process_.ActivateLog();
  for (const char* text : {"20240701T10000Z", "20240701T100000ZZ", "", "20240701",
                           "2024-07-01T10:00:00Z"}) {
    SCOPED_TRACE(text);
    EXPECT_TRUE(ConvertZentavoToLocalDateTime(text, zone_).IsZero());
  }
  EXPECT_TRUE(process_.Reports().empty());
  EXPECT_EQ(zone_.calls, 0);
}

TEST_F(DateTimeConvertTest, SeparatorPositionsAreNotExamined) {
  const DateTime expected = ConvertZentavoToLocalDateTime("20240701T100000Z", zone_);
  EXPECT_EQ(expected, At(2024, 7, 1, 12, 0, 0));
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20240701X100000Y", zone_), expected);
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20240701 1000000", zone_), expected);
  EXPECT_TRUE(process_.Reports().empty());
}

TEST_F(DateTimeConvertTest, LengthCountsCharactersNotBytes) {
  // "Ä" takes two bytes but one position.
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20240701\xC3\x84" "100000Z", zone_),
            At(2024, 7, 1, 12, 0, 0));
  EXPECT_TRUE(ConvertZentavoToLocalDateTime("20240701\xC3\x84T100000Z", zone_).IsZero());
  EXPECT_TRUE(process_.Reports().empty());
}

TEST_F(DateTimeConvertTest, FieldsAreReadAsNumbersNotOnlyAsDigits) {
  // A sign or a blank in a field is read the way the host reads a number.
  EXPECT_EQ(ConvertZentavoToLocalDateTime("2024+7+1T10+0 0Z", zone_), At(2024, 7, 1, 12, 0, 0));
  EXPECT_EQ(ConvertZentavoToLocalDateTime(" 2024 7 1T 9 5 7Z", zone_).IsZero(), true);
  EXPECT_EQ(ConvertZentavoToLocalDateTime("2024 7 1T 9 5 7Z", zone_), At(2024, 7, 1, 11, 5, 7));
  EXPECT_TRUE(process_.Reports().empty());
}

TEST_F(DateTimeConvertTest, LettersInANumericFieldAreReportedNotRaised) {
  process_.ActivateLog();
  DateTime result = At(2000, 1, 1);
  EXPECT_NO_THROW(result = ConvertZentavoToLocalDateTime("20240X01T100000Z", zone_));
  EXPECT_TRUE(result.IsZero());
  ASSERT_EQ(process_.log.lines.size(), 1u);
  EXPECT_EQ(process_.log.lines[0],
            ErrorLine("13/Type mismatch / Modul=modDateTimeConvert / "
                      "Proc=ConvertZentavoToLocalDateTime / Details=20240X01T100000Z"));
}

TEST_F(DateTimeConvertTest, LettersInEveryFieldAreReported) {
  for (const char* text : {"2O240701T100000Z", "20240701TAB0000Z", "20240701T10xx00Z",
                           "20240701T10000-Z", "abcdefghijklmnop"}) {
    SCOPED_TRACE(text);
    ScopedProcess process;
    DateTime result = At(2000, 1, 1);
    EXPECT_NO_THROW(result = ConvertZentavoToLocalDateTime(text, zone_));
    EXPECT_TRUE(result.IsZero());
    ASSERT_EQ(process.ui.boxes.size(), 1u);
    EXPECT_EQ(process.ui.boxes[0].text,
              std::string("Es ist der folgende Fehler aufgetreten:\r\n13/Type mismatch / "
                          "Modul=modDateTimeConvert / Proc=ConvertZentavoToLocalDateTime / "
                          "Details=") + text);
  }
}

TEST_F(DateTimeConvertTest, FieldsAreReadLeniently) {
  EXPECT_EQ(ConvertZentavoToLocalDateTime("2024 701T100000Z", zone_), At(2024, 7, 1, 12, 0, 0));
  EXPECT_EQ(ConvertZentavoToLocalDateTime("2024+701T100000Z", zone_), At(2024, 7, 1, 12, 0, 0));
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20240701T 90000Z", zone_), At(2024, 7, 1, 11, 0, 0));
  EXPECT_TRUE(process_.Reports().empty());
}

TEST_F(DateTimeConvertTest, FieldsRollOver) {
  // Month 13 is January of the next year (winter time there).
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20241301T100000Z", zone_), At(2025, 1, 1, 11, 0, 0));
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20240632T100000Z", zone_), At(2024, 7, 2, 12, 0, 0));
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20240701T240000Z", zone_), At(2024, 7, 2, 2, 0, 0));
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20240701T106000Z", zone_), At(2024, 7, 1, 13, 0, 0));
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20240700T100000Z", zone_), At(2024, 6, 30, 12, 0, 0));
  EXPECT_TRUE(process_.Reports().empty());
}

// A text whose fields each lie in their range is taken as it stands; the
// same instant written with rolled-over fields is found by splitting the
// instant. Both must agree at every second around each switch of the
// summer-time tables, and on days of every month.
TEST_F(DateTimeConvertTest, PlainFieldsAgreeWithTheSameInstantRolledOver) {
  const auto text = [](int year, int month, int day, int hour, int minute, int second) {
    char buffer[80];
    std::snprintf(buffer, sizeof buffer, "%04d%02d%02dT%02d%02d%02dZ", year, month, day, hour,
                  minute, second);
    return std::string(buffer);
  };
  std::vector<DateTime> instants;
  for (int year = 2006; year <= 2031; ++year) {
    for (int month = 1; month <= 12; ++month) {
      for (int hour : {0, 1, 2, 3, 23}) instants.push_back(At(year, month, 2, hour, 59, 59));
      instants.push_back(At(year, month, 1).AddMinutes(-1));  // the last day of the month before
    }
    // Every minute of the last Sundays of March and October (and the days
    // around them), where the tables switch.
    for (int month : {3, 10}) {
      const DateTime first = At(year, month, 24);
      for (int minute = 0; minute < 9 * 24 * 60; minute += 7) {
        instants.push_back(first.AddMinutes(minute));
      }
    }
  }
  instants.push_back(At(2024, 2, 29, 12, 0, 0));
  instants.push_back(At(2000, 2, 29, 12, 0, 0));
  for (const DateTime& instant : instants) {
    const DateTime::Fields f = instant.Split();
    const std::string plain = text(f.year, f.month, f.day, f.hour, f.minute, f.second);
    // The day before at hour + 24 (a day of 0 rolls into the month before).
    const std::string rolled = text(f.year, f.month, f.day - 1, f.hour + 24, f.minute, f.second);
    SCOPED_TRACE(plain + " / " + rolled);
    EXPECT_EQ(ConvertZentavoToLocalDateTime(plain, zone_),
              ConvertZentavoToLocalDateTime(rolled, zone_));
  }
  EXPECT_TRUE(process_.Reports().empty());
}

TEST_F(DateTimeConvertTest, TwoDigitYearsAreReadAsTheHostReadsThem) {
  EXPECT_EQ(ConvertZentavoToLocalDateTime("00240701T100000Z", zone_), At(2024, 7, 1, 12, 0, 0));
  EXPECT_EQ(ConvertZentavoToLocalDateTime("00991201T100000Z", zone_), At(1999, 12, 1, 11, 0, 0));
}

TEST_F(DateTimeConvertTest, DateOutsideTheCalendarIsReported) {
  process_.ActivateLog();
  EXPECT_TRUE(ConvertZentavoToLocalDateTime("99991301T100000Z", zone_).IsZero());
  ASSERT_EQ(process_.log.lines.size(), 1u);
  EXPECT_EQ(process_.log.lines[0],
            ErrorLine("5/Invalid procedure call or argument / Modul=modDateTimeConvert / "
                      "Proc=ConvertZentavoToLocalDateTime / Details=99991301T100000Z"));
}

TEST_F(DateTimeConvertTest, LocalResultOutsideTheCalendarIsReported) {
  process_.ActivateLog();
  FixedZone west(1, 60, -60);
  EXPECT_EQ(ConvertLocalToZentavoDateTime(At(9999, 12, 31, 23, 30, 0), west), "");
  ASSERT_EQ(process_.log.lines.size(), 1u);
  EXPECT_EQ(process_.log.lines[0],
            ErrorLine("5/Invalid procedure call or argument / Modul=modDateTimeConvert / "
                      "Proc=ConvertLocalToZentavoDateTime / Details=9999-12-31T23:30:00"));
}

// Local offset: result 0 takes Bias (+ DaylightBias in summer) like 1 and 2.
TEST_F(DateTimeConvertTest, LocalOffsetAcceptsZoneWithoutDaylightSaving) {
  FixedZone unknown(0, -60, -60);
  EXPECT_EQ(ConvertLocalToZentavoDateTime(At(2024, 7, 1, 12, 0, 0), unknown), "20240701T100000Z");
  EXPECT_EQ(ConvertLocalToZentavoDateTime(At(2024, 12, 1, 12, 0, 0), unknown),
            "20241201T110000Z");
}

TEST_F(DateTimeConvertTest, LocalOffsetIsZeroWhenTheZoneFails) {
  for (int32_t result : {kInvalidZone, 3, -2, 100}) {
    SCOPED_TRACE(result);
    FixedZone failing(result, -60, -60);
    EXPECT_EQ(ConvertLocalToZentavoDateTime(At(2024, 7, 1, 12, 0, 0), failing),
              "20240701T120000Z");
    EXPECT_EQ(ConvertLocalToZentavoDateTime(At(2024, 12, 1, 12, 0, 0), failing),
              "20241201T120000Z");
  }
  EXPECT_TRUE(process_.Reports().empty());
}

// Service offset: only 1 and 2 give an offset; 0 counts as failure.
TEST_F(DateTimeConvertTest, ServiceOffsetIsZeroForZoneWithoutDaylightSaving) {
  FixedZone unknown(0, -60, -60);
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20240701T100000Z", unknown), At(2024, 7, 1, 10, 0, 0));
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20241201T110000Z", unknown), At(2024, 12, 1, 11, 0, 0));
}

TEST_F(DateTimeConvertTest, ServiceOffsetIsZeroWhenTheZoneFails) {
  for (int32_t result : {kInvalidZone, 3, -2}) {
    SCOPED_TRACE(result);
    FixedZone failing(result, -60, -60);
    EXPECT_EQ(ConvertZentavoToLocalDateTime("20240701T100000Z", failing),
              At(2024, 7, 1, 10, 0, 0));
  }
  EXPECT_TRUE(process_.Reports().empty());
}

TEST_F(DateTimeConvertTest, ResultZeroMakesTheDirectionsAsymmetric) {
  FixedZone unknown(0, -60, -60);
  const DateTime local = At(2024, 7, 1, 12, 0, 0);
  const std::string service = ConvertLocalToZentavoDateTime(local, unknown);
  EXPECT_EQ(service, "20240701T100000Z");
  EXPECT_EQ(ConvertZentavoToLocalDateTime(service, unknown), At(2024, 7, 1, 10, 0, 0));
  // With a known zone the round trip holds.
  EXPECT_EQ(ConvertZentavoToLocalDateTime(ConvertLocalToZentavoDateTime(local, zone_), zone_),
            local);
}

TEST_F(DateTimeConvertTest, OverflowOfTheLocalOffsetSumIsReported) {
  process_.ActivateLog();
  FixedZone extreme(1, std::numeric_limits<int32_t>::min(), -60);
  std::string result = "unchanged";
  EXPECT_NO_THROW(result = ConvertLocalToZentavoDateTime(At(2024, 7, 1, 12, 0, 0), extreme));
  EXPECT_EQ(result, "");
  ASSERT_EQ(process_.log.lines.size(), 1u);
  EXPECT_EQ(process_.log.lines[0],
            ErrorLine("6/Overflow / Modul=modDateTimeConvert / "
                      "Proc=ConvertLocalToZentavoDateTime / Details=2024-07-01T12:00:00"));
}

TEST_F(DateTimeConvertTest, OverflowOfTheServiceOffsetSumIsReported) {
  process_.ActivateLog();
  FixedZone extreme(2, std::numeric_limits<int32_t>::max(), 1);
  DateTime result = At(2000, 1, 1);
  EXPECT_NO_THROW(result = ConvertZentavoToLocalDateTime("20240701T100000Z", extreme));
  EXPECT_TRUE(result.IsZero());
  ASSERT_EQ(process_.log.lines.size(), 1u);
  EXPECT_EQ(process_.log.lines[0],
            ErrorLine("6/Overflow / Modul=modDateTimeConvert / "
                      "Proc=ConvertZentavoToLocalDateTime / Details=20240701T100000Z"));
}

TEST_F(DateTimeConvertTest, NegatingTheSmallestBiasOverflows) {
  process_.ActivateLog();
  FixedZone extreme(1, std::numeric_limits<int32_t>::min(), 0);
  EXPECT_TRUE(ConvertZentavoToLocalDateTime("20241201T100000Z", extreme).IsZero());
  ASSERT_EQ(process_.log.lines.size(), 1u);
  EXPECT_EQ(process_.log.lines[0].rfind(ErrorLine("6/Overflow / "), 0), 0u);
}

TEST_F(DateTimeConvertTest, OverflowIsNoErrorWhenTheSumIsNotFormed) {
  // In winter time the daylight bias is not added at all.
  FixedZone extreme(1, 0, std::numeric_limits<int32_t>::min());
  EXPECT_EQ(ConvertLocalToZentavoDateTime(At(2024, 12, 1, 12, 0, 0), extreme), "20241201T120000Z");
  EXPECT_EQ(ConvertZentavoToLocalDateTime("20241201T120000Z", extreme), At(2024, 12, 1, 12, 0, 0));
  EXPECT_TRUE(process_.Reports().empty());
}

// The switch days, checked independently: the last Sunday of March and of
// October of every year from 2007 to 2030.
struct Row {
  int year, march, october;
};
constexpr Row kRows[] = {
    {2007, 25, 28}, {2008, 30, 26}, {2009, 29, 25}, {2010, 28, 31}, {2011, 27, 30},
    {2012, 25, 28}, {2013, 31, 27}, {2014, 30, 26}, {2015, 29, 25}, {2016, 27, 30},
    {2017, 26, 29}, {2018, 25, 28}, {2019, 31, 27}, {2020, 29, 25}, {2021, 28, 31},
    {2022, 27, 30}, {2023, 26, 29}, {2024, 31, 27}, {2025, 30, 26}, {2026, 29, 25},
    {2027, 28, 31}, {2028, 26, 29}, {2029, 25, 28}, {2030, 31, 27}};

int LastSunday(int year, int month) {
  // Day 1 (31 December 1899) was a Sunday.
  for (int day = 31;; --day) {
    const DateTime date = DateTime::FromDate(year, month, day);
    if (date.Split().month != month) continue;
    if (static_cast<int64_t>(date.serial()) % 7 == 1) return day;
  }
}

std::string Service(int year, int month, int day, int hour, int minute, int second) {
  return At(year, month, day, hour, minute, second).Format("yyyymmddThhnnssZ");
}

TEST(DateTimeConvertTablesTest, RowsAreTheLastSundaysOfMarchAndOctober) {
  ASSERT_EQ(std::size(kRows), 24u);
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.year);
    EXPECT_EQ(row.march, LastSunday(row.year, 3));
    EXPECT_EQ(row.october, LastSunday(row.year, 10));
  }
}

TEST(DateTimeConvertTablesTest, EveryLocalRowBoundary) {
  ScopedProcess process;
  FixedZone zone(1, -60, -60);
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.year);
    const int y = row.year;
    // Start: 03:00:00 local is summer (-120), one second earlier winter (-60).
    EXPECT_EQ(ConvertLocalToZentavoDateTime(At(y, 3, row.march, 3, 0, 0), zone),
              Service(y, 3, row.march, 1, 0, 0));
    EXPECT_EQ(ConvertLocalToZentavoDateTime(At(y, 3, row.march, 2, 59, 59), zone),
              Service(y, 3, row.march, 1, 59, 59));
    // End: 02:59:59 local is summer, 03:00:00 winter.
    EXPECT_EQ(ConvertLocalToZentavoDateTime(At(y, 10, row.october, 2, 59, 59), zone),
              Service(y, 10, row.october, 0, 59, 59));
    EXPECT_EQ(ConvertLocalToZentavoDateTime(At(y, 10, row.october, 3, 0, 0), zone),
              Service(y, 10, row.october, 2, 0, 0));
    // The day before the start and the day after the end are winter.
    EXPECT_EQ(ConvertLocalToZentavoDateTime(At(y, 3, row.march - 1, 12, 0, 0), zone),
              Service(y, 3, row.march - 1, 11, 0, 0));
    EXPECT_EQ(ConvertLocalToZentavoDateTime(At(y, 10, row.october + 1, 12, 0, 0), zone),
              Service(y, 10, row.october + 1, 11, 0, 0));
  }
  EXPECT_TRUE(process.Reports().empty());
}

TEST(DateTimeConvertTablesTest, EveryServiceRowBoundary) {
  ScopedProcess process;
  FixedZone zone(1, -60, -60);
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.year);
    const int y = row.year;
    // Up to 2011 the bounds are 01:00:00 / 00:59:59 UTC, afterwards the local
    // texts 03:00:00 / 02:59:59.
    const int start_hour = y <= 2011 ? 1 : 3;
    const int end_hour = y <= 2011 ? 0 : 2;
    const DateTime start = At(y, 3, row.march, start_hour, 0, 0);
    const DateTime end = At(y, 10, row.october, end_hour, 59, 59);
    EXPECT_EQ(ConvertZentavoToLocalDateTime(start.Format("yyyymmddThhnnssZ"), zone),
              start.AddMinutes(120));
    const DateTime before_start = DateTime::FromFields({y, 3, row.march, start_hour - 1, 59, 59});
    EXPECT_EQ(ConvertZentavoToLocalDateTime(before_start.Format("yyyymmddThhnnssZ"), zone),
              before_start.AddMinutes(60));
    EXPECT_EQ(ConvertZentavoToLocalDateTime(end.Format("yyyymmddThhnnssZ"), zone),
              end.AddMinutes(120));
    const DateTime after_end = DateTime::FromFields({y, 10, row.october, end_hour + 1, 0, 0});
    EXPECT_EQ(ConvertZentavoToLocalDateTime(after_end.Format("yyyymmddThhnnssZ"), zone),
              after_end.AddMinutes(60));
    if (y >= 2012) {
      // The deliberate break: 01:00 UTC on the March day is winter, on the
      // October day summer.
      EXPECT_EQ(ConvertZentavoToLocalDateTime(Service(y, 3, row.march, 1, 0, 0), zone),
                At(y, 3, row.march, 2, 0, 0));
      EXPECT_EQ(ConvertZentavoToLocalDateTime(Service(y, 10, row.october, 1, 0, 0), zone),
                At(y, 10, row.october, 3, 0, 0));
    }
  }
  EXPECT_TRUE(process.Reports().empty());
}

}  // namespace
}  // namespace kdzv::modDateTimeConvert
