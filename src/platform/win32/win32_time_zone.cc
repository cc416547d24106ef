#include "platform/win32/win32_time_zone.h"

#include <windows.h>

namespace kdzv::win32 {

ZoneInformation Win32TimeZone::GetTimeZoneInformation() {
  TIME_ZONE_INFORMATION zone{};
  const DWORD result = ::GetTimeZoneInformation(&zone);
  ZoneInformation info;
  info.result = static_cast<int32_t>(result);
  info.bias = static_cast<int32_t>(zone.Bias);
  info.daylight_bias = static_cast<int32_t>(zone.DaylightBias);
  return info;
}

}  // namespace kdzv::win32
