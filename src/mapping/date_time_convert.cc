#include "mapping/date_time_convert.h"

#include <array>
#include <cstdint>
#include <limits>
#include <vector>

#include "interface/error_report.h"
#include "util/error.h"
#include "util/vb_convert.h"

namespace kdzv::modDateTimeConvert {
namespace {

// One year's summer time, as comparison texts "yyyymmddhhnnss"; both bounds
// belong to it.
struct SummerTime {
  std::string_view start;
  std::string_view end;
};

// Local wall-clock instants: the last Sunday of March from 03:00:00 to the
// last Sunday of October at 02:59:59.
constexpr std::array<SummerTime, 24> kLocalTable = {{
    {"20070325030000", "20071028025959"}, {"20080330030000", "20081026025959"},
    {"20090329030000", "20091025025959"}, {"20100328030000", "20101031025959"},
    {"20110327030000", "20111030025959"}, {"20120325030000", "20121028025959"},
    {"20130331030000", "20131027025959"}, {"20140330030000", "20141026025959"},
    {"20150329030000", "20151025025959"}, {"20160327030000", "20161030025959"},
    {"20170326030000", "20171029025959"}, {"20180325030000", "20181028025959"},
    {"20190331030000", "20191027025959"}, {"20200329030000", "20201025025959"},
    {"20210328030000", "20211031025959"}, {"20220327030000", "20221030025959"},
    {"20230326030000", "20231029025959"}, {"20240331030000", "20241027025959"},
    {"20250330030000", "20251026025959"}, {"20260329030000", "20261025025959"},
    {"20270328030000", "20271031025959"}, {"20280326030000", "20281029025959"},
    {"20290325030000", "20291028025959"}, {"20300331030000", "20301027025959"},
}};

// UTC instants. Up to 2011 the rows hold the UTC switch instants of a zone one
// hour east of UTC; from 2012 on they repeat the local texts, so that a UTC
// instant from 01:00:00 to 02:59:59 on the last Sunday of March counts as
// winter time and one on the last Sunday of October as summer time. The break
// after 2011 is intended; keep the rows as they are.
constexpr std::array<SummerTime, 5> kServiceRowsUpTo2011 = {{
    {"20070325010000", "20071028005959"},
    {"20080330010000", "20081026005959"},
    {"20090329010000", "20091025005959"},
    {"20100328010000", "20101031005959"},
    {"20110327010000", "20111030005959"},
}};
constexpr std::array<SummerTime, 24> kServiceTable = [] {
  std::array<SummerTime, 24> table = kLocalTable;
  for (size_t i = 0; i < kServiceRowsUpTo2011.size(); ++i) table[i] = kServiceRowsUpTo2011[i];
  return table;
}();

constexpr int kFirstTableYear = 2007;

// An instant's text "yyyymmddhhnnss" read as a number: with four digits for
// the year, numbers are ordered as the texts and the instants are.
constexpr uint64_t Stamp(std::string_view text) {
  uint64_t stamp = 0;
  for (const char c : text) stamp = stamp * 10 + static_cast<uint64_t>(c - '0');
  return stamp;
}
constexpr uint64_t Stamp(const DateTime::Fields& f) {
  uint64_t stamp = static_cast<uint64_t>(f.year);
  for (const int field : {f.month, f.day, f.hour, f.minute, f.second}) {
    stamp = stamp * 100 + static_cast<uint64_t>(field);
  }
  return stamp;
}

// A table's rows as numbers, first and last instant of each.
using SummerStamps = std::array<std::array<uint64_t, 2>, 24>;
constexpr SummerStamps StampsOf(const std::array<SummerTime, 24>& table) {
  SummerStamps stamps{};
  for (size_t i = 0; i < table.size(); ++i) {
    stamps[i] = {Stamp(table[i].start), Stamp(table[i].end)};
  }
  return stamps;
}
constexpr SummerStamps kLocalStamps = StampsOf(kLocalTable);
constexpr SummerStamps kServiceStamps = StampsOf(kServiceTable);
static_assert(kLocalStamps[17][0] == 20240331030000u && kServiceStamps[0][1] == 20071028005959u);

// Instants outside every row (winter, before 2007, after 2030) are winter
// time. Both bounds of a row lie in its own year, so only that year's row
// can hold the instant; within it, the year has four digits.
bool IsSummerTime(const SummerStamps& table, const DateTime::Fields& f) {
  const int row = f.year - kFirstTableYear;
  if (row < 0 || row >= static_cast<int>(table.size())) return false;
  const uint64_t stamp = Stamp(f);
  return table[static_cast<size_t>(row)][0] <= stamp && stamp <= table[static_cast<size_t>(row)][1];
}

int32_t CheckedSum(int32_t a, int32_t b) {
  const int64_t sum = static_cast<int64_t>(a) + b;
  if (sum < std::numeric_limits<int32_t>::min() || sum > std::numeric_limits<int32_t>::max()) {
    RaiseStandard(err::kOverflow);
  }
  return static_cast<int32_t>(sum);
}

int32_t CheckedNegation(int32_t value) {
  if (value == std::numeric_limits<int32_t>::min()) RaiseStandard(err::kOverflow);
  return -value;
}

// Minutes to add to a local instant to get UTC. A zone without daylight
// saving (result 0) still takes the daylight bias in summer time; only a
// failing zone query gives no offset.
int32_t LocalOffset(DateTime local, TimeZoneSource& zone) {
  const bool bIstSommerzeit = IsSummerTime(kLocalStamps, local.Split());
  const ZoneInformation info = zone.GetTimeZoneInformation();
  if (info.result != 0 && info.result != 1 && info.result != 2) return 0;
  return bIstSommerzeit ? CheckedSum(info.bias, info.daylight_bias) : info.bias;
}

// Minutes to add to a UTC instant to get local time. Unlike the local
// offset, a zone without daylight saving (result 0) gives no offset at all.
// `utc` is the instant's fields.
int32_t ServiceOffset(const DateTime::Fields& utc, TimeZoneSource& zone) {
  const bool bIstSommerzeit = IsSummerTime(kServiceStamps, utc);
  const ZoneInformation info = zone.GetTimeZoneInformation();
  if (info.result != 1 && info.result != 2) return 0;
  return CheckedNegation(bIstSommerzeit ? CheckedSum(info.bias, info.daylight_bias) : info.bias);
}

DateTime LocalToUtc(DateTime local, TimeZoneSource& zone) {
  return local.AddMinutes(LocalOffset(local, zone));
}

// `fields` are those of `utc`.
DateTime UtcToLocal(DateTime utc, const DateTime::Fields& fields, TimeZoneSource& zone) {
  return utc.AddMinutes(ServiceOffset(fields, zone));
}

// The text split into its characters as the host counts them (UTF-16 code
// units): a character outside the basic plane takes two positions, the
// second of which holds no digit.
std::vector<std::string_view> Characters(std::string_view text) {
  std::vector<std::string_view> chars;
  size_t i = 0;
  while (i < text.size()) {
    const auto lead = static_cast<unsigned char>(text[i]);
    size_t length = 1;
    if (lead >= 0xF0 && lead <= 0xF4) {
      length = 4;
    } else if (lead >= 0xE0) {
      length = 3;
    } else if (lead >= 0xC2 && lead < 0xE0) {
      length = 2;
    }
    size_t valid = 1;
    while (valid < length && i + valid < text.size() &&
           (static_cast<unsigned char>(text[i + valid]) & 0xC0) == 0x80) {
      ++valid;
    }
    if (valid != length) length = 1;  // a stray byte counts as one character
    chars.push_back(text.substr(i, length));
    if (length == 4) chars.push_back("?");
    i += length;
  }
  return chars;
}

// Characters `first` to `last` (counted from 1) converted to a 16-bit integer.
int16_t Field(const std::vector<std::string_view>& chars, size_t first, size_t last) {
  std::string text;
  for (size_t i = first; i <= last; ++i) text += chars[i - 1];
  return ToInteger(text);
}

// The characters (first and last, counted from 1) of year, month, day, hour,
// minute and second in "yyyymmddThhnnssZ".
constexpr size_t kFieldSpans[6][2] = {{1, 4}, {5, 6}, {7, 8}, {10, 11}, {12, 13}, {14, 15}};

// The usual case, "yyyymmddThhnnssZ" with digits where the fields are: the
// six fields without splitting the text into characters. False for anything
// else, which then takes the general way (the same result for these texts).
bool DigitFields(std::string_view text, int (&fields)[6]) {
  if (text.size() != 16) return false;
  for (size_t i = 0; i < 6; ++i) {
    int value = 0;
    for (size_t j = kFieldSpans[i][0] - 1; j < kFieldSpans[i][1]; ++j) {
      if (text[j] < '0' || text[j] > '9') return false;
      value = value * 10 + (text[j] - '0');
    }
    fields[i] = value;
  }
  // Positions 9 and 16 are not read, but a multi-byte character there would
  // make the text shorter than 16 characters.
  return static_cast<unsigned char>(text[8]) < 0x80 && static_cast<unsigned char>(text[15]) < 0x80;
}

}  // namespace

std::string ConvertLocalToZentavoDateTime(DateTime dLocalDate, TimeZoneSource& zone) {
  try {
    const DateTime utc = LocalToUtc(dLocalDate, zone);
    return utc.Format("yyyymmdd") + "T" + utc.Format("hhnnss") + "Z";
  } catch (...) {
    ReportCurrentError(kModule, "ConvertLocalToZentavoDateTime", dLocalDate.ToIsoText());
    return std::string();
  }
}

DateTime ConvertZentavoToLocalDateTime(std::string_view strDTString, TimeZoneSource& zone) {
  try {
    int fields[6];
    if (!DigitFields(strDTString, fields)) {
      const std::vector<std::string_view> chars = Characters(strDTString);
      if (chars.size() != 16) return DateTime();
      for (size_t i = 0; i < 6; ++i) fields[i] = Field(chars, kFieldSpans[i][0], kFieldSpans[i][1]);
    }
    const DateTime date_part = DateTime::FromDate(fields[0], fields[1], fields[2]);
    const DateTime time_part = DateTime::FromTime(fields[3], fields[4], fields[5]);
    // The two parts are joined as plain day numbers.
    const DateTime instant = DateTime::FromSerial(date_part.serial() + time_part.serial());
    // Splitting the instant gives back fields in their ranges unchanged.
    const DateTime::Fields written{fields[0], fields[1], fields[2],
                                   fields[3], fields[4], fields[5]};
    const DateTime::Fields utc = written.InRange() ? written : instant.Split();
    return UtcToLocal(instant, utc, zone);
  } catch (...) {
    ReportCurrentError(kModule, "ConvertZentavoToLocalDateTime", strDTString);
    return DateTime();
  }
}

}  // namespace kdzv::modDateTimeConvert
