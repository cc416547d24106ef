#include "platform/posix/posix_clock.h"

#include <time.h>

namespace kdzv::posix {

DateTime PosixClock::Now() {
  const time_t now = ::time(nullptr);
  struct tm local {};
  if (::localtime_r(&now, &local) == nullptr) return DateTime();
  // A leap second (tm_sec 60) rolls into the next minute.
  return DateTime::FromFields({local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
                               local.tm_hour, local.tm_min, local.tm_sec});
}

std::string PosixClock::ShortDate(DateTime value) { return value.Format("dd.mm.yyyy"); }

std::string PosixClock::LongTime(DateTime value) { return value.Format("hh:nn:ss"); }

}  // namespace kdzv::posix
