// The host's opening times (the kdZVBelegungen of OnQueryOpeningTime) turned
// into the answer's opening-time items: one item per practitioner ("P_" +
// BehandlerID), in it one value per method ("M_" + MethodeID), in that one
// Day per date ("D_" + yyyymmdd). What the host names twice is merged into
// the same item, value and day. Each day's text is written once, when all
// its slots are known, so the cost stays linear in the host's answer.
#ifndef KDZV_EXCHANGE_OPENING_TIMES_H_
#define KDZV_EXCHANGE_OPENING_TIMES_H_

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "interface/records.h"
#include "message/opening_time_items.h"

namespace kdzv {

class OpeningTimes {
 public:
  explicit OpeningTimes(clZVReplaceOpeningTimeCol& items) : items_(items) {}

  // Adds one occupancy. Raises "Overflow" (6) for a date outside the years
  // 100 to 9999.
  void Add(const kdZVBelegung& belegung);
  // Writes the text of every day collected (start times converted to the
  // service's UTC text, which may raise for a time outside the calendar).
  void Finish();

 private:
  struct Day {
    std::shared_ptr<clZVAttribute_ValueDay> item;
    DateTime day;
    std::vector<OpeningSlot> slots;
  };
  clZVReplaceOpeningTimeCol& items_;
  std::map<std::string, Day> days_;
};

}  // namespace kdzv

#endif  // KDZV_EXCHANGE_OPENING_TIMES_H_
