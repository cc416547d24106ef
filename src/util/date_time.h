// The host's date value: a day count from 30 December 1899 00:00:00 with the
// time of day as the fraction. The zero value is that very instant.
//
// Before the zero day the host's convention applies: the whole part counts the
// days backwards while the fraction still runs forwards through the day, so
// -1.25 is 29 December 1899, 06:00.
#ifndef KDZV_UTIL_DATE_TIME_H_
#define KDZV_UTIL_DATE_TIME_H_

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kdzv {

class DateTime {
 public:
  struct Fields {
    int year = 1899, month = 12, day = 30;
    int hour = 0, minute = 0, second = 0;
    bool operator==(const Fields&) const = default;
    // Whether each field lies in its range: a year from 100 to 9999, a
    // month, a day that month has, a time of day. Such fields name an
    // instant as they stand: FromFields takes them without rolling over,
    // and Split gives them back.
    bool InRange() const;
  };

  constexpr DateTime() = default;
  static constexpr DateTime FromSerial(double days) { return DateTime(days); }

  // The normalising date constructor: a month of 13 is January of the next
  // year, a day of 32 or 0 rolls into the neighbouring month. Years 0 to 29
  // mean 2000 to 2029 and 30 to 99 mean 1930 to 1999, as the host's own
  // constructor reads them. A result outside the years 100 to 9999 raises
  // "Invalid procedure call or argument" (5).
  static DateTime FromDate(int year, int month, int day);
  // The normalising time constructor: the time of day as a fraction of a day
  // (25:00:00 is one day and one hour; negative values count backwards).
  static DateTime FromTime(int hour, int minute, int second);
  // FromDate + FromTime.
  static DateTime FromFields(const Fields& f);

  double serial() const { return serial_; }
  bool IsZero() const { return serial_ == 0.0; }

  // The day alone (the time of day cut off, as the host's conversion of a
  // date to a whole number does). A value outside the years 100 to 9999, or
  // no number at all, is no date the host can hold: raises "Overflow" (6).
  DateTime DayPart() const;

  // Calendar arithmetic by whole minutes (the host's date-add by "n"); the
  // result is computed on the time line, so it crosses days, months and the
  // zero day correctly. Raises "Invalid procedure call or argument" (5) when
  // the result leaves the years 100 to 9999.
  DateTime AddMinutes(int64_t minutes) const;

  // The calendar fields, rounded to the nearest second.
  Fields Split() const;

  // Formats with the tokens yyyy, mm (month), dd, hh, nn (minute) and ss,
  // all zero-padded; any other character is copied. "yyyymmdd" gives
  // 20240701, "hhnnss" 100000.
  std::string Format(std::string_view pattern) const;
  // "YYYY-MM-DDTHH:MM:SS".
  std::string ToIsoText() const;
  // Reads "YYYY-MM-DD", "YYYY-MM-DD HH:MM:SS" or "YYYY-MM-DDTHH:MM:SS"
  // (fields range-checked, no rolling over); nullopt for anything else.
  static std::optional<DateTime> ParseIsoText(std::string_view text);

  friend bool operator==(const DateTime&, const DateTime&) = default;
  friend auto operator<=>(const DateTime&, const DateTime&) = default;

 private:
  explicit constexpr DateTime(double serial) : serial_(serial) {}
  double serial_ = 0.0;
};

}  // namespace kdzv

#endif  // KDZV_UTIL_DATE_TIME_H_
