// The time-zone port on Windows: GetTimeZoneInformation.
#ifndef KDZV_PLATFORM_WIN32_WIN32_TIME_ZONE_H_
#define KDZV_PLATFORM_WIN32_WIN32_TIME_ZONE_H_

#include "mapping/time_zone.h"

namespace kdzv::win32 {

class Win32TimeZone : public TimeZoneSource {
 public:
  // The system's result code as it is (TIME_ZONE_ID_INVALID arrives as -1),
  // with the record's Bias and DaylightBias.
  ZoneInformation GetTimeZoneInformation() override;
};

}  // namespace kdzv::win32

#endif  // KDZV_PLATFORM_WIN32_WIN32_TIME_ZONE_H_
