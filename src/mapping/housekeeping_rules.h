// Housekeeping, off unless the configuration file asks for it: section
// "HOUSEKEEPING", key "DepotKeepDays" (days a processed message stays in the
// depot; 0 keeps every one) and key "LogMaxKB" (the size in KB past which
// the log is renamed to <log>.1 and begun anew; 0 lets it grow).
#ifndef KDZV_MAPPING_HOUSEKEEPING_RULES_H_
#define KDZV_MAPPING_HOUSEKEEPING_RULES_H_

#include <cstdint>
#include <string_view>

#include "mapping/profile_file.h"

namespace kdzv {

inline constexpr std::string_view kHousekeepingSection = "HOUSEKEEPING";
inline constexpr std::string_view kDepotKeepDaysKey = "DepotKeepDays";
inline constexpr std::string_view kLogMaxKbKey = "LogMaxKB";

// The largest values taken; a larger one counts as this one.
inline constexpr int32_t kMaxDepotKeepDays = 36500;
inline constexpr int32_t kMaxLogMaxKb = 1024 * 1024;  // 1 GB

struct HousekeepingRules {
  int32_t depot_keep_days = 0;
  int32_t log_max_kb = 0;
};

// A value as the rules read it: leading blanks skipped, then decimal digits
// (a sign, any other text or nothing gives 0), capped at `max`.
int32_t HousekeepingNumber(std::string_view text, int32_t max);

// The rules from the configuration file `file`; both 0 when the keys are
// missing or the file cannot be read (reported as an error of
// "clZVMatching"/"ReadHousekeepingRules").
HousekeepingRules ReadHousekeepingRules(ProfileFile& profile, std::string_view file);

}  // namespace kdzv

#endif  // KDZV_MAPPING_HOUSEKEEPING_RULES_H_
