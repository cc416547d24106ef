// The host language's lenient conversions of text to numbers.
#ifndef KDZV_UTIL_VB_CONVERT_H_
#define KDZV_UTIL_VB_CONVERT_H_

#include <cstdint>
#include <string_view>

namespace kdzv {

// Reads the whole text as a number the way the host's integer conversion
// does: surrounding blanks allowed, an optional sign, digits with an optional
// decimal part and exponent ("7", " 7", "+7", "12.5", "1e3"). The value is
// rounded to the nearest whole number, halves to even. Raises "Type mismatch"
// (13) when the text is not a number and "Overflow" (6) when the value does
// not fit.
int16_t ToInteger(std::string_view text);  // 16-bit
int32_t ToLong(std::string_view text);     // 32-bit

// The leading-number rule: leading blanks are skipped, then a number is read
// up to the first character that cannot belong to it ("12abc" is 12, "  7"
// is 7, "abc" and "" are 0). Never raises.
double LeadingNumber(std::string_view text);

// Rounds to the nearest 32-bit integer, halves to even; raises "Overflow" (6)
// outside the range.
int32_t RoundToLong(double value);

// The host's 32-bit ("Long") addition: raises "Overflow" (6) where the sum
// leaves the range instead of wrapping around.
int32_t AddLong(int32_t a, int32_t b);

}  // namespace kdzv

#endif  // KDZV_UTIL_VB_CONVERT_H_
