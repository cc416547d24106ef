// Dates written as text: the notations the host's users type (German day
// first, and ISO), and the service's eight-digit form "YYYYMMDD".
#ifndef KDZV_MAPPING_DATE_TEXT_H_
#define KDZV_MAPPING_DATE_TEXT_H_

#include <optional>
#include <string_view>

#include "util/date_time.h"

namespace kdzv {

// Recognises a date text of the host's locale: "d.m.yyyy" or "d.m.yy"
// (day and month with one or two digits, the year with four or two; a
// two-digit year 00-29 means 2000-2029 and 30-99 means 1930-1999) or ISO
// "yyyy-mm-dd" (month and day with one or two digits). Blanks around the
// text are allowed. Only a real calendar date in the years 100 to 9999 is
// recognised ("31.02.1970" is not); the result carries no time. nullopt for
// anything else, eight bare digits included.
std::optional<DateTime> RecogniseDateText(std::string_view text);

// Reads a text as "YYYYMMDD": the year from characters 1-4, the month from
// 5-6 and the day from 7-8 (a shorter text gives shorter or empty pieces).
// Each piece is converted the way the host converts text to a 16-bit
// integer and the three are combined by DateTime::FromDate, so a month or
// day out of range rolls over into the next month or year ("19701301" is
// 1 January 1971). Raises "Type mismatch" (13) for an empty or non-numeric
// piece, "Overflow" (6) for a piece beyond 16 bits and "Invalid procedure
// call or argument" (5) for a date outside the years 100 to 9999.
DateTime DateFromDigitText(std::string_view text);

}  // namespace kdzv

#endif  // KDZV_MAPPING_DATE_TEXT_H_
