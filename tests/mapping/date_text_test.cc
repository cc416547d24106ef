#include "mapping/date_text.h"

#include <gtest/gtest.h>

#include <optional>

#include "util/error.h"

namespace kdzv {
namespace {

DateTime Day(int year, int month, int day) { return DateTime::FromDate(year, month, day); }

int ErrorNumberOf(std::string_view text) {
  try {
    DateFromDigitText(text);
  } catch (const Error& error) {
    return error.number();
  }
  return 0;
}

TEST(RecogniseDateTextTest, GermanDayFirstWithFourDigitYear) {
  EXPECT_EQ(RecogniseDateText("15.03.1970"), Day(1970, 3, 15));
  EXPECT_EQ(RecogniseDateText("5.3.1970"), Day(1970, 3, 5));
  EXPECT_EQ(RecogniseDateText("01.12.2001"), Day(2001, 12, 1));
  EXPECT_EQ(RecogniseDateText("31.12.9999"), Day(9999, 12, 31));
  EXPECT_EQ(RecogniseDateText("1.1.0100"), Day(100, 1, 1));
}

TEST(RecogniseDateTextTest, TwoDigitYearsFollowTheCenturyWindow) {
  EXPECT_EQ(RecogniseDateText("15.03.70"), Day(1970, 3, 15));
  EXPECT_EQ(RecogniseDateText("15.03.30"), Day(1930, 3, 15));
  EXPECT_EQ(RecogniseDateText("15.03.29"), Day(2029, 3, 15));
  EXPECT_EQ(RecogniseDateText("1.2.00"), Day(2000, 2, 1));
  EXPECT_EQ(RecogniseDateText("31.12.99"), Day(1999, 12, 31));
}

TEST(RecogniseDateTextTest, IsoYearFirst) {
  EXPECT_EQ(RecogniseDateText("1970-03-15"), Day(1970, 3, 15));
  EXPECT_EQ(RecogniseDateText("1970-3-5"), Day(1970, 3, 5));
  EXPECT_EQ(RecogniseDateText("2024-02-29"), Day(2024, 2, 29));
}

TEST(RecogniseDateTextTest, BlanksAroundAreAllowed) {
  EXPECT_EQ(RecogniseDateText(" 15.03.1970 "), Day(1970, 3, 15));
  EXPECT_EQ(RecogniseDateText("\t1970-03-15  "), Day(1970, 3, 15));
}

TEST(RecogniseDateTextTest, TheResultCarriesNoTime) {
  const std::optional<DateTime> date = RecogniseDateText("15.03.1970");
  ASSERT_TRUE(date.has_value());
  const DateTime::Fields fields = date->Split();
  EXPECT_EQ(fields.hour, 0);
  EXPECT_EQ(fields.minute, 0);
  EXPECT_EQ(fields.second, 0);
  EXPECT_EQ(date->serial(), 25642.0);  // 15 March 1970, whole day
}

TEST(RecogniseDateTextTest, OnlyRealCalendarDays) {
  EXPECT_EQ(RecogniseDateText("31.02.1970"), std::nullopt);
  EXPECT_EQ(RecogniseDateText("29.02.1900"), std::nullopt);
  EXPECT_EQ(RecogniseDateText("29.02.2023"), std::nullopt);
  EXPECT_EQ(RecogniseDateText("29.02.2000"), Day(2000, 2, 29));
  EXPECT_EQ(RecogniseDateText("0.03.1970"), std::nullopt);
  EXPECT_EQ(RecogniseDateText("15.13.1970"), std::nullopt);
  EXPECT_EQ(RecogniseDateText("15.00.1970"), std::nullopt);
  EXPECT_EQ(RecogniseDateText("1970-02-30"), std::nullopt);
  EXPECT_EQ(RecogniseDateText("1970-13-01"), std::nullopt);
  EXPECT_EQ(RecogniseDateText("1.1.0099"), std::nullopt);
}

TEST(RecogniseDateTextTest, OtherTextsAreNotDates) {
  const char* const not_dates[] = {"",
                                   "   ",
                                   "19700315",
                                   "1970",
                                   "abc",
                                   "15.03.",
                                   "15.03",
                                   ".03.1970",
                                   "15..1970",
                                   "15.03.1970.",
                                   "15.03.197",
                                   "15.03.19700",
                                   "115.03.1970",
                                   "15.103.1970",
                                   "15.03.1970 x",
                                   "15. 03.1970",
                                   "15.03.1970 10:00",
                                   "1970-03-15T00:00",
                                   "70-03-15",
                                   "1970-03",
                                   "1970-003-15",
                                   "1970-03-15-01",
                                   "+1970-03-15",
                                   "15.0a.1970",
                                   "15/03/1970",
                                   "15.03-1970"};
  for (const char* text : not_dates) {
    EXPECT_EQ(RecogniseDateText(text), std::nullopt) << "'" << text << "'";
  }
}

TEST(DateFromDigitTextTest, YearMonthDayFromTheirPlaces) {
  EXPECT_EQ(DateFromDigitText("19700315"), Day(1970, 3, 15));
  EXPECT_EQ(DateFromDigitText("20240701"), Day(2024, 7, 1));
  EXPECT_EQ(DateFromDigitText("01000101"), Day(100, 1, 1));
}

TEST(DateFromDigitTextTest, MonthAndDayRollOver) {
  EXPECT_EQ(DateFromDigitText("19701301"), Day(1971, 1, 1));
  EXPECT_EQ(DateFromDigitText("19700231"), Day(1970, 3, 3));
  EXPECT_EQ(DateFromDigitText("19700300"), Day(1970, 2, 28));
  EXPECT_EQ(DateFromDigitText("19700000"), Day(1969, 11, 30));
  EXPECT_EQ(DateFromDigitText("19709999"), Day(1978, 6, 7));
}

TEST(DateFromDigitTextTest, PiecesAreReadLikeTheHostReadsNumbers) {
  // Years below 100 go through the date constructor's century window.
  EXPECT_EQ(DateFromDigitText("00700315"), Day(1970, 3, 15));
  EXPECT_EQ(DateFromDigitText("00290315"), Day(2029, 3, 15));
  // Blanks around a number and a sign are part of the number.
  EXPECT_EQ(DateFromDigitText(" 970 3 5"), Day(970, 3, 5));
  EXPECT_EQ(DateFromDigitText("1970+3+5"), Day(1970, 3, 5));
  // Characters after the eighth are never looked at.
  EXPECT_EQ(DateFromDigitText("19700315T120000Z"), Day(1970, 3, 15));
}

TEST(DateFromDigitTextTest, NonAsciiCharacterSpoilsItsPiece) {
  EXPECT_EQ(ErrorNumberOf("1970\xC3\x84"
                          "315"),
            err::kTypeMismatch);
  EXPECT_EQ(ErrorNumberOf("197\xC3\x84"
                          "0315"),
            err::kTypeMismatch);
  EXPECT_EQ(DateFromDigitText("19700315\xC3\x84"), Day(1970, 3, 15));
}

TEST(DateFromDigitTextTest, EmptyOrNonNumericPieceIsTypeMismatch) {
  EXPECT_EQ(ErrorNumberOf(""), err::kTypeMismatch);
  EXPECT_EQ(ErrorNumberOf("1970"), err::kTypeMismatch);    // empty month
  EXPECT_EQ(ErrorNumberOf("197003"), err::kTypeMismatch);  // empty day
  EXPECT_EQ(ErrorNumberOf("abcd0315"), err::kTypeMismatch);
  EXPECT_EQ(ErrorNumberOf("1970ab15"), err::kTypeMismatch);
  EXPECT_EQ(ErrorNumberOf("197003x5"), err::kTypeMismatch);
  EXPECT_EQ(ErrorNumberOf("unknown"), err::kTypeMismatch);
}

TEST(DateFromDigitTextTest, ShortDayPieceStillCounts) {
  EXPECT_EQ(DateFromDigitText("1970031"), Day(1970, 3, 1));
}

TEST(DateFromDigitTextTest, PieceBeyondSixteenBitsIsOverflow) {
  EXPECT_EQ(ErrorNumberOf("9e990315"), err::kOverflow);
}

TEST(DateFromDigitTextTest, DateOutsideTheCalendarIsInvalidCall) {
  EXPECT_EQ(ErrorNumberOf("99991301"), err::kInvalidCall);
  EXPECT_EQ(ErrorNumberOf("-1000101"), err::kInvalidCall);
}

}  // namespace
}  // namespace kdzv
