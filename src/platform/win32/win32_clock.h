// The clock port on Windows: the local time and the user's regional "short
// date" and "long time" forms.
#ifndef KDZV_PLATFORM_WIN32_WIN32_CLOCK_H_
#define KDZV_PLATFORM_WIN32_WIN32_CLOCK_H_

#include <string>

#include "interface/clock.h"

namespace kdzv::win32 {

class Win32Clock : public Clock {
 public:
  // GetLocalTime, to the second.
  DateTime Now() override;
  // GetDateFormatW with DATE_SHORTDATE and GetTimeFormatW with the user's
  // default locale, as UTF-8. A date the system cannot format (before 1601)
  // falls back to "dd.mm.yyyy" / "hh:nn:ss".
  std::string ShortDate(DateTime value) override;
  std::string LongTime(DateTime value) override;
};

}  // namespace kdzv::win32

#endif  // KDZV_PLATFORM_WIN32_WIN32_CLOCK_H_
