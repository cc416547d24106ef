// The clock port: the current local time and the system's display formats.
#ifndef KDZV_INTERFACE_CLOCK_H_
#define KDZV_INTERFACE_CLOCK_H_

#include <string>

#include "util/date_time.h"

namespace kdzv {

class Clock {
 public:
  virtual ~Clock() = default;
  virtual DateTime Now() = 0;
  // The system's "short date" and "long time" forms of `value`.
  virtual std::string ShortDate(DateTime value) = 0;
  virtual std::string LongTime(DateTime value) = 0;
};

}  // namespace kdzv

#endif  // KDZV_INTERFACE_CLOCK_H_
