#include "util/vb_convert.h"

#include <charconv>
#include <cmath>
#include <limits>

#include "util/error.h"

namespace kdzv {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

struct ScannedNumber {
  size_t end = 0;        // one past the last character that belongs to the number
  bool found = false;    // at least one digit in the mantissa
  bool overflow = false; // the value does not fit a double
  double value = 0.0;
};

// Reads the longest number starting at `pos`: an optional sign, digits with an
// optional decimal part, and an exponent only when digits follow its letter.
ScannedNumber ScanNumber(std::string_view text, size_t pos) {
  ScannedNumber result;
  size_t i = pos;
  bool negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
    negative = text[i] == '-';
    ++i;
  }
  const size_t mantissa_start = i;
  size_t int_digits = 0;           // integer digits after leading zeros
  size_t fraction_zeros = 0;       // zeros after the point before the first other digit
  bool seen_nonzero = false;
  bool any_digit = false;
  while (i < text.size() && IsDigit(text[i])) {
    any_digit = true;
    if (text[i] != '0') seen_nonzero = true;
    if (seen_nonzero) ++int_digits;
    ++i;
  }
  if (i < text.size() && text[i] == '.') {
    ++i;
    while (i < text.size() && IsDigit(text[i])) {
      any_digit = true;
      if (text[i] != '0') seen_nonzero = true;
      if (!seen_nonzero) ++fraction_zeros;
      ++i;
    }
  }
  if (!any_digit) return result;
  long exponent = 0;
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    size_t j = i + 1;
    bool exponent_negative = false;
    if (j < text.size() && (text[j] == '+' || text[j] == '-')) {
      exponent_negative = text[j] == '-';
      ++j;
    }
    if (j < text.size() && IsDigit(text[j])) {
      while (j < text.size() && IsDigit(text[j])) {
        if (exponent < 100000) exponent = exponent * 10 + (text[j] - '0');
        ++j;
      }
      if (exponent_negative) exponent = -exponent;
      i = j;
    }
  }
  result.end = i;
  result.found = true;
  double magnitude = 0.0;
  const auto [ptr, ec] = std::from_chars(text.data() + mantissa_start, text.data() + i, magnitude,
                                         std::chars_format::general);
  (void)ptr;
  if (ec == std::errc::result_out_of_range) {
    // Decide between too large and too small from the decimal magnitude.
    const long scale = seen_nonzero ? (int_digits > 0 ? static_cast<long>(int_digits)
                                                      : -static_cast<long>(fraction_zeros))
                                    : -1;
    if (seen_nonzero && scale + exponent > 0) {
      result.overflow = true;
      magnitude = std::numeric_limits<double>::infinity();
    } else {
      magnitude = 0.0;
    }
  }
  result.value = negative ? -magnitude : magnitude;
  return result;
}

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// The whole text as one number; raises "Type mismatch" or "Overflow".
double WholeNumber(std::string_view text) {
  size_t begin = 0;
  size_t end = text.size();
  while (begin < end && IsBlank(text[begin])) ++begin;
  while (end > begin && IsBlank(text[end - 1])) --end;
  const std::string_view core = text.substr(begin, end - begin);
  const ScannedNumber number = ScanNumber(core, 0);
  if (!number.found || number.end != core.size()) RaiseStandard(err::kTypeMismatch);
  if (number.overflow) RaiseStandard(err::kOverflow);
  return number.value;
}

// Nearest whole number, halves to the even neighbour.
double RoundHalfEven(double value) {
  const double lower = std::floor(value);
  const double diff = value - lower;
  if (diff > 0.5) return lower + 1.0;
  if (diff < 0.5) return lower;
  return std::fmod(lower, 2.0) == 0.0 ? lower : lower + 1.0;
}

template <typename T>
T RoundInto(double value) {
  if (std::isnan(value)) RaiseStandard(err::kOverflow);
  const double rounded = RoundHalfEven(value);
  if (rounded < static_cast<double>(std::numeric_limits<T>::min()) ||
      rounded > static_cast<double>(std::numeric_limits<T>::max())) {
    RaiseStandard(err::kOverflow);
  }
  return static_cast<T>(rounded);
}

}  // namespace

int16_t ToInteger(std::string_view text) { return RoundInto<int16_t>(WholeNumber(text)); }

int32_t ToLong(std::string_view text) { return RoundInto<int32_t>(WholeNumber(text)); }

double LeadingNumber(std::string_view text) {
  size_t i = 0;
  while (i < text.size() && (IsBlank(text[i]) || text[i] == '\r' || text[i] == '\n')) ++i;
  const ScannedNumber number = ScanNumber(text, i);
  return number.found ? number.value : 0.0;
}

int32_t RoundToLong(double value) { return RoundInto<int32_t>(value); }

int32_t AddLong(int32_t a, int32_t b) {
  int32_t sum = 0;
  if (__builtin_add_overflow(a, b, &sum)) RaiseStandard(err::kOverflow);
  return sum;
}

}  // namespace kdzv
