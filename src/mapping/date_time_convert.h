// modDateTimeConvert: conversion between the host's local date-times and the
// booking service's UTC text "yyyymmddThhnnssZ".
//
// Whether an instant falls in summer time is decided here, from fixed tables
// of switch instants for the years 2007 to 2030; the zone source supplies only
// the sizes of the offsets. Both conversions report their failures through the
// error report and never raise.
#ifndef KDZV_MAPPING_DATE_TIME_CONVERT_H_
#define KDZV_MAPPING_DATE_TIME_CONVERT_H_

#include <string>
#include <string_view>

#include "mapping/time_zone.h"
#include "util/date_time.h"

namespace kdzv::modDateTimeConvert {

inline constexpr std::string_view kModule = "modDateTimeConvert";

// The UTC text of a local date-time; "" when the conversion fails.
std::string ConvertLocalToZentavoDateTime(DateTime dLocalDate, TimeZoneSource& zone);

// The local date-time of a service text. A text that is not 16 characters
// long gives the zero date without a report; a failing conversion gives the
// zero date after its report. Characters 9 and 16 are not looked at.
DateTime ConvertZentavoToLocalDateTime(std::string_view strDTString, TimeZoneSource& zone);

}  // namespace kdzv::modDateTimeConvert

#endif  // KDZV_MAPPING_DATE_TIME_CONVERT_H_
