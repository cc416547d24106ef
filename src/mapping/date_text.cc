#include "mapping/date_text.h"

#include <array>
#include <cstddef>
#include <cstdint>

#include "util/text.h"
#include "util/vb_convert.h"

namespace kdzv {
namespace {

// Splits `text` at `separator` into exactly three parts; false for any other
// number of parts.
bool SplitThree(std::string_view text, char separator, std::array<std::string_view, 3>& parts) {
  size_t begin = 0;
  for (size_t i = 0; i < 2; ++i) {
    const size_t end = text.find(separator, begin);
    if (end == std::string_view::npos) return false;
    parts[i] = text.substr(begin, end - begin);
    begin = end + 1;
  }
  parts[2] = text.substr(begin);
  return parts[2].find(separator) == std::string_view::npos;
}

// The value of `digits` when it consists of `min_length` to `max_length`
// ASCII digits only; -1 otherwise.
int DigitsValue(std::string_view digits, size_t min_length, size_t max_length) {
  if (digits.size() < min_length || digits.size() > max_length) return -1;
  int value = 0;
  for (char c : digits) {
    if (c < '0' || c > '9') return -1;
    value = value * 10 + (c - '0');
  }
  return value;
}

// The date when year, month and day name a real day of the host's calendar.
std::optional<DateTime> ValidDate(int year, int month, int day) {
  if (!DateTime::Fields{year, month, day}.InRange()) return std::nullopt;
  return DateTime::FromDate(year, month, day);
}

// "d.m.yyyy" and "d.m.yy".
std::optional<DateTime> GermanDate(std::string_view text) {
  std::array<std::string_view, 3> parts;
  if (!SplitThree(text, '.', parts)) return std::nullopt;
  const int day = DigitsValue(parts[0], 1, 2);
  const int month = DigitsValue(parts[1], 1, 2);
  int year = -1;
  if (parts[2].size() == 2) {
    year = DigitsValue(parts[2], 2, 2);
    if (year >= 0) year += year <= 29 ? 2000 : 1900;
  } else {
    year = DigitsValue(parts[2], 4, 4);
  }
  if (day < 0 || month < 0 || year < 0) return std::nullopt;
  return ValidDate(year, month, day);
}

// "yyyy-mm-dd".
std::optional<DateTime> IsoDate(std::string_view text) {
  std::array<std::string_view, 3> parts;
  if (!SplitThree(text, '-', parts)) return std::nullopt;
  const int year = DigitsValue(parts[0], 4, 4);
  const int month = DigitsValue(parts[1], 1, 2);
  const int day = DigitsValue(parts[2], 1, 2);
  if (day < 0 || month < 0 || year < 0) return std::nullopt;
  return ValidDate(year, month, day);
}

// `count` characters of `text` from character `first` (0-based), as the
// host's Mid takes them: fewer or none when the text is shorter. Counting
// bytes instead of characters changes nothing here: a non-ASCII character
// makes the piece it touches no number, whichever way it is cut.
std::string_view Piece(std::string_view text, size_t first, size_t count) {
  if (first >= text.size()) return {};
  return text.substr(first, count);
}

}  // namespace

std::optional<DateTime> RecogniseDateText(std::string_view text) {
  const std::string_view core = Trim(text);
  if (core.find('.') != std::string_view::npos) return GermanDate(core);
  if (core.find('-') != std::string_view::npos) return IsoDate(core);
  return std::nullopt;
}

DateTime DateFromDigitText(std::string_view text) {
  // The pieces are converted in the order of the host's date constructor's
  // arguments, so the first faulty one decides the error.
  const int16_t year = ToInteger(Piece(text, 0, 4));
  const int16_t month = ToInteger(Piece(text, 4, 2));
  const int16_t day = ToInteger(Piece(text, 6, 2));
  return DateTime::FromDate(year, month, day);
}

}  // namespace kdzv
