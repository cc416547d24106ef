#include "mapping/housekeeping_rules.h"

#include <string>

#include "interface/error_report.h"
#include "util/text.h"

namespace kdzv {

int32_t HousekeepingNumber(std::string_view text, int32_t max) {
  const std::string_view value = Trim(text);
  int64_t number = 0;
  for (const char c : value) {
    if (c < '0' || c > '9') break;
    number = number * 10 + (c - '0');
    if (number > max) return max;
  }
  return static_cast<int32_t>(number);
}

HousekeepingRules ReadHousekeepingRules(ProfileFile& profile, std::string_view file) {
  HousekeepingRules rules;
  try {
    rules.depot_keep_days = HousekeepingNumber(
        profile.GetString(kHousekeepingSection, kDepotKeepDaysKey, "0", 255, file),
        kMaxDepotKeepDays);
    rules.log_max_kb = HousekeepingNumber(
        profile.GetString(kHousekeepingSection, kLogMaxKbKey, "0", 255, file), kMaxLogMaxKb);
  } catch (...) {
    ReportCurrentError("clZVMatching", "ReadHousekeepingRules", "File=" + std::string(file));
    return HousekeepingRules{};
  }
  return rules;
}

}  // namespace kdzv
