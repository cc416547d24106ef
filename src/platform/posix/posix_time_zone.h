// The time-zone port on Linux: the process's zone (TZ or the system's
// tzdata) described by its standard bias, its daylight bias and whether it is
// in daylight time now.
#ifndef KDZV_PLATFORM_POSIX_POSIX_TIME_ZONE_H_
#define KDZV_PLATFORM_POSIX_POSIX_TIME_ZONE_H_

#include "mapping/time_zone.h"

namespace kdzv::posix {

class PosixTimeZone : public TimeZoneSource {
 public:
  // Reads the zone afresh on every call (so a changed TZ is seen). The
  // current year is sampled twice a month: a zone without any daylight
  // sample has result 0 and daylight bias 0; otherwise the result is 2 when
  // the current moment is in daylight time and 1 when not. A failing
  // localtime_r gives result -1.
  ZoneInformation GetTimeZoneInformation() override;
};

}  // namespace kdzv::posix

#endif  // KDZV_PLATFORM_POSIX_POSIX_TIME_ZONE_H_
