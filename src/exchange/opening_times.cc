#include "exchange/opening_times.h"

namespace kdzv {

void OpeningTimes::Add(const kdZVBelegung& belegung) {
  const std::string practitioner_key = "P_" + std::to_string(belegung.BehandlerID);
  std::shared_ptr<clZVOpeningTime> opening;
  if (items_.Contains(practitioner_key)) {
    opening = items_.Item(practitioner_key);
  } else {
    opening = items_.Add(0, std::to_string(belegung.BehandlerID), belegung.BehandlerIDext, "",
                         practitioner_key);
  }
  const std::string method_key = "M_" + std::to_string(belegung.MethodeID);
  std::shared_ptr<clZVAttribute_Value> method;
  if (opening->Values->Contains(method_key)) {
    method = opening->Values->Item(method_key);
  } else {
    method = opening->Values->Add(std::to_string(belegung.MethodeID), belegung.MethodeIDext, "",
                                  method_key);
  }
  // A date the host gave far outside the calendar is an overflow.
  const DateTime day = belegung.Datum.DayPart();
  const std::string day_key = "D_" + day.Format("yyyymmdd");
  Day& collected = days_[practitioner_key + method_key + day_key];
  if (!collected.item) {
    collected.item = method->Days->Add("", day_key);
    collected.day = day;
  }
  if (belegung.Zeiten) {
    for (const auto& zeit : *belegung.Zeiten) {
      collected.slots.push_back({zeit->StartZeit, zeit->Dauer});
    }
  }
}

void OpeningTimes::Finish() {
  for (auto& entry : days_) {
    Day& collected = entry.second;
    collected.item->Value = OpeningDayText(collected.day, collected.slots);
  }
}

}  // namespace kdzv
