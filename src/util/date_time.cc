#include "util/date_time.h"

#include <cmath>

#include "util/error.h"

namespace kdzv {
namespace {

constexpr int64_t kMsPerDay = 86400000;
constexpr int64_t kSecondsPerDay = 86400;
// 1 January 1970 counted from 30 December 1899.
constexpr int64_t kUnixEpochDay = 25569;

constexpr int64_t FloorDiv(int64_t a, int64_t b) {
  const int64_t q = a / b;
  return (a % b != 0 && ((a < 0) != (b < 0))) ? q - 1 : q;
}

// Days of the proleptic Gregorian calendar from 30 December 1899.
constexpr int64_t DayNumber(int64_t y, int64_t m, int64_t d) {
  y -= m <= 2 ? 1 : 0;
  const int64_t era = FloorDiv(y, 400);
  const int64_t yoe = y - era * 400;
  const int64_t doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
  const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468 + kUnixEpochDay;
}

struct CivilDate {
  int64_t year, month, day;
};

constexpr CivilDate CivilFromDayNumber(int64_t day_number) {
  const int64_t z = day_number - kUnixEpochDay + 719468;
  const int64_t era = FloorDiv(z, 146097);
  const int64_t doe = z - era * 146097;
  const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const int64_t mp = (5 * doy + 2) / 153;
  const int64_t d = doy - (153 * mp + 2) / 5 + 1;
  const int64_t m = mp < 10 ? mp + 3 : mp - 9;
  return CivilDate{yoe + era * 400 + (m <= 2 ? 1 : 0), m, d};
}

// The host's date range: 1 January 100 to 31 December 9999.
constexpr int64_t kFirstDay = DayNumber(100, 1, 1);
constexpr int64_t kLastDay = DayNumber(9999, 12, 31);
constexpr int64_t kFirstMs = kFirstDay * kMsPerDay;
constexpr int64_t kEndMs = (kLastDay + 1) * kMsPerDay;

static_assert(DayNumber(1899, 12, 30) == 0);
static_assert(DayNumber(1900, 1, 1) == 2);
static_assert(DayNumber(2024, 7, 1) == 45474);

// The serial value's position on the time line, in milliseconds from the
// zero instant. Before the zero day the whole part counts backwards and the
// fraction forwards, so -1.25 (29 December 06:00) is -0.75 days.
int64_t LinearMs(double serial) {
  // Far outside the representable calendar; keep the arithmetic defined.
  if (!(serial > -1e9)) serial = -1e9;
  if (serial > 1e9) serial = 1e9;
  const double whole = std::trunc(serial);
  const double fraction = std::fabs(serial - whole);
  return static_cast<int64_t>(whole) * kMsPerDay +
         std::llround(fraction * static_cast<double>(kMsPerDay));
}

// The inverse of LinearMs; every computed date goes through here, so equal
// instants always get equal serial values.
DateTime FromLinearMs(int64_t ms) {
  const int64_t day = FloorDiv(ms, kMsPerDay);
  const int64_t rest = ms - day * kMsPerDay;
  const double fraction = static_cast<double>(rest) / static_cast<double>(kMsPerDay);
  const double whole = static_cast<double>(day);
  return DateTime::FromSerial(day >= 0 ? whole + fraction : whole - fraction);
}

void CheckRange(int64_t ms) {
  if (ms < kFirstMs || ms >= kEndMs) RaiseStandard(err::kInvalidCall);
}

// The day number of FromDate's arguments, before the range check.
int64_t NormalisedDayNumber(int year, int month, int day) {
  int64_t y = year;
  if (y >= 0 && y <= 29) {
    y += 2000;
  } else if (y >= 30 && y <= 99) {
    y += 1900;
  }
  const int64_t months = static_cast<int64_t>(month) - 1;
  y += FloorDiv(months, 12);
  const int64_t m = months - FloorDiv(months, 12) * 12 + 1;
  return DayNumber(y, m, 1) + (static_cast<int64_t>(day) - 1);
}

int64_t TimeSeconds(int hour, int minute, int second) {
  return static_cast<int64_t>(hour) * 3600 + static_cast<int64_t>(minute) * 60 + second;
}

void AppendPadded(std::string& out, int64_t value, int width) {
  std::string digits = std::to_string(value < 0 ? -value : value);
  if (value < 0) out.push_back('-');
  for (int i = static_cast<int>(digits.size()); i < width; ++i) out.push_back('0');
  out += digits;
}

bool ReadDigits(std::string_view text, size_t pos, size_t count, int& value) {
  if (pos + count > text.size()) return false;
  value = 0;
  for (size_t i = pos; i < pos + count; ++i) {
    if (text[i] < '0' || text[i] > '9') return false;
    value = value * 10 + (text[i] - '0');
  }
  return true;
}

bool IsLeapYear(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int DaysInMonth(int year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

}  // namespace

bool DateTime::Fields::InRange() const {
  return year >= 100 && year <= 9999 && month >= 1 && month <= 12 && day >= 1 &&
         day <= DaysInMonth(year, month) && hour >= 0 && hour <= 23 && minute >= 0 &&
         minute <= 59 && second >= 0 && second <= 59;
}

DateTime DateTime::FromDate(int year, int month, int day) {
  const int64_t day_number = NormalisedDayNumber(year, month, day);
  if (day_number < kFirstDay || day_number > kLastDay) RaiseStandard(err::kInvalidCall);
  return DateTime(static_cast<double>(day_number));
}

DateTime DateTime::DayPart() const {
  if (!(serial_ >= static_cast<double>(kFirstDay) && serial_ < static_cast<double>(kLastDay + 1))) {
    RaiseStandard(err::kOverflow);
  }
  return DateTime(std::trunc(serial_));
}

DateTime DateTime::FromTime(int hour, int minute, int second) {
  const int64_t seconds = TimeSeconds(hour, minute, second);
  CheckRange(seconds * 1000);
  return DateTime(static_cast<double>(seconds) / static_cast<double>(kSecondsPerDay));
}

DateTime DateTime::FromFields(const Fields& f) {
  // The date part alone must lie inside the calendar, as with FromDate; the
  // time part is then added on the time line.
  const auto day_number = static_cast<int64_t>(FromDate(f.year, f.month, f.day).serial_);
  const int64_t ms = day_number * kMsPerDay + TimeSeconds(f.hour, f.minute, f.second) * 1000;
  CheckRange(ms);
  return FromLinearMs(ms);
}

DateTime DateTime::AddMinutes(int64_t minutes) const {
  // More minutes than the whole calendar holds cannot land inside it.
  constexpr int64_t kSpan = (kEndMs - kFirstMs) / 60000 + 1;
  if (minutes > kSpan || minutes < -kSpan) RaiseStandard(err::kInvalidCall);
  const int64_t ms = LinearMs(serial_) + minutes * 60000;
  CheckRange(ms);
  return FromLinearMs(ms);
}

DateTime::Fields DateTime::Split() const {
  const int64_t seconds = FloorDiv(LinearMs(serial_) + 500, 1000);
  const int64_t day_number = FloorDiv(seconds, kSecondsPerDay);
  const int64_t second_of_day = seconds - day_number * kSecondsPerDay;
  const CivilDate date = CivilFromDayNumber(day_number);
  Fields f;
  f.year = static_cast<int>(date.year);
  f.month = static_cast<int>(date.month);
  f.day = static_cast<int>(date.day);
  f.hour = static_cast<int>(second_of_day / 3600);
  f.minute = static_cast<int>(second_of_day / 60 % 60);
  f.second = static_cast<int>(second_of_day % 60);
  return f;
}

std::string DateTime::Format(std::string_view pattern) const {
  const Fields f = Split();
  std::string out;
  size_t i = 0;
  while (i < pattern.size()) {
    const std::string_view rest = pattern.substr(i);
    if (rest.starts_with("yyyy")) {
      AppendPadded(out, f.year, 4);
      i += 4;
      continue;
    }
    const std::string_view two = rest.substr(0, 2);
    int value = -1;
    if (two == "mm") value = f.month;
    if (two == "dd") value = f.day;
    if (two == "hh") value = f.hour;
    if (two == "nn") value = f.minute;
    if (two == "ss") value = f.second;
    if (value >= 0) {
      AppendPadded(out, value, 2);
      i += 2;
    } else {
      out.push_back(pattern[i]);
      ++i;
    }
  }
  return out;
}

std::string DateTime::ToIsoText() const { return Format("yyyy-mm-ddThh:nn:ss"); }

std::optional<DateTime> DateTime::ParseIsoText(std::string_view text) {
  if (text.size() != 10 && text.size() != 19) return std::nullopt;
  Fields f;
  f.hour = f.minute = f.second = 0;
  if (!ReadDigits(text, 0, 4, f.year) || text[4] != '-' || !ReadDigits(text, 5, 2, f.month) ||
      text[7] != '-' || !ReadDigits(text, 8, 2, f.day)) {
    return std::nullopt;
  }
  if (text.size() == 19) {
    if ((text[10] != ' ' && text[10] != 'T') || !ReadDigits(text, 11, 2, f.hour) ||
        text[13] != ':' || !ReadDigits(text, 14, 2, f.minute) || text[16] != ':' ||
        !ReadDigits(text, 17, 2, f.second)) {
      return std::nullopt;
    }
  }
  if (!f.InRange()) return std::nullopt;
  return FromFields(f);
}

}  // namespace kdzv
