// The clock port on Linux: the local time of the process's zone, and fixed
// display forms "dd.mm.yyyy" (short date) and "hh:nn:ss" (long time), the
// forms of the German regional settings.
#ifndef KDZV_PLATFORM_POSIX_POSIX_CLOCK_H_
#define KDZV_PLATFORM_POSIX_POSIX_CLOCK_H_

#include <string>

#include "interface/clock.h"

namespace kdzv::posix {

class PosixClock : public Clock {
 public:
  // The local wall-clock time, to the second.
  DateTime Now() override;
  std::string ShortDate(DateTime value) override;
  std::string LongTime(DateTime value) override;
};

}  // namespace kdzv::posix

#endif  // KDZV_PLATFORM_POSIX_POSIX_CLOCK_H_
