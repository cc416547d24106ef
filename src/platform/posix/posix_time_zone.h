// The time-zone port on Linux: the process's zone (TZ or the system's
// tzdata) described by its standard bias, its daylight bias and whether it is
// in daylight time now.
#ifndef KDZV_PLATFORM_POSIX_POSIX_TIME_ZONE_H_
#define KDZV_PLATFORM_POSIX_POSIX_TIME_ZONE_H_

#include <time.h>

#include <string>

#include "mapping/time_zone.h"

namespace kdzv::posix {

class PosixTimeZone : public TimeZoneSource {
 public:
  // Reads the zone afresh unless it was read in the same second under the
  // same TZ (so a changed TZ is seen at once). The
  // current year is sampled twice a month: a zone without any daylight
  // sample has result 0 and daylight bias 0; otherwise the result is 2 when
  // the current moment is in daylight time and 1 when not. A failing
  // localtime_r gives result -1.
  ZoneInformation GetTimeZoneInformation() override;

 private:
  static ZoneInformation ReadZone(time_t now);

  bool cached_ = false;
  time_t cached_at_ = 0;
  std::string cached_tz_;
  ZoneInformation cached_info_;
};

}  // namespace kdzv::posix

#endif  // KDZV_PLATFORM_POSIX_POSIX_TIME_ZONE_H_
