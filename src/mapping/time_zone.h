// The time-zone port: the sizes of the local zone's offsets.
#ifndef KDZV_MAPPING_TIME_ZONE_H_
#define KDZV_MAPPING_TIME_ZONE_H_

#include <cstdint>

namespace kdzv {

struct ZoneInformation {
  // 0: the zone has no daylight saving; 1: standard time now; 2: daylight
  // time now; anything else: the zone could not be determined.
  int32_t result = 0;
  // Minutes, with UTC = local time + bias.
  int32_t bias = 0;
  // Added to `bias` during daylight time (-60 for a one-hour shift).
  int32_t daylight_bias = 0;
};

class TimeZoneSource {
 public:
  virtual ~TimeZoneSource() = default;
  virtual ZoneInformation GetTimeZoneInformation() = 0;
};

}  // namespace kdzv

#endif  // KDZV_MAPPING_TIME_ZONE_H_
