#include "platform/posix/posix_time_zone.h"

#include <time.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "util/date_time.h"

namespace kdzv::posix {
namespace {

// 1 January 1970 counted from 30 December 1899.
constexpr int64_t kUnixEpochDay = 25569;

// Noon UTC of the given day, as seconds since 1970.
time_t NoonOf(int year, int month, int day) {
  const auto day_number = static_cast<int64_t>(DateTime::FromDate(year, month, day).serial());
  return static_cast<time_t>((day_number - kUnixEpochDay) * 86400 + 12 * 3600);
}

struct Offsets {
  bool has_standard = false;
  bool has_daylight = false;
  long standard = 0;  // seconds east of UTC
  long daylight = 0;

  void Add(const struct tm& local) {
    if (local.tm_isdst > 0) {
      if (!has_daylight) daylight = local.tm_gmtoff;
      has_daylight = true;
    } else if (local.tm_isdst == 0) {
      if (!has_standard) standard = local.tm_gmtoff;
      has_standard = true;
    }
  }
};

}  // namespace

ZoneInformation PosixTimeZone::GetTimeZoneInformation() {
  // Reading the zone means tzset (a look at the zone file) and two dozen
  // conversions; a message of many appointments asks for every one of them.
  // Within one second and under the same TZ the answer cannot differ.
  const time_t now = ::time(nullptr);
  const char* tz = std::getenv("TZ");
  const std::string_view tz_now =
      tz == nullptr ? std::string_view("\x01unset") : std::string_view(tz);
  if (cached_ && now == cached_at_ && tz_now == cached_tz_) return cached_info_;
  const ZoneInformation info = ReadZone(now);
  cached_ = true;
  cached_at_ = now;
  cached_tz_.assign(tz_now);
  cached_info_ = info;
  return info;
}

ZoneInformation PosixTimeZone::ReadZone(time_t now) {
  ::tzset();
  struct tm now_local {};
  if (::localtime_r(&now, &now_local) == nullptr) return ZoneInformation{-1, 0, 0};

  // The current moment first, so that its offset wins over the samples'.
  Offsets offsets;
  offsets.Add(now_local);
  const int year = now_local.tm_year + 1900;
  for (int month = 1; month <= 12; ++month) {
    for (int day : {1, 15}) {
      const time_t sample = NoonOf(year, month, day);
      struct tm local {};
      if (::localtime_r(&sample, &local) != nullptr) offsets.Add(local);
    }
  }

  // A zone that is in daylight time all year has no standard sample; tzset's
  // `timezone` (seconds west of UTC) still names its standard offset.
  const long standard = offsets.has_standard ? offsets.standard : -::timezone;
  ZoneInformation info;
  info.bias = static_cast<int32_t>(-standard / 60);
  if (!offsets.has_daylight) {
    info.result = 0;
    info.daylight_bias = 0;
    return info;
  }
  info.daylight_bias = static_cast<int32_t>(-(offsets.daylight - standard) / 60);
  info.result = now_local.tm_isdst > 0 ? 2 : 1;
  return info;
}

}  // namespace kdzv::posix
