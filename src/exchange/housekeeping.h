// The depot's housekeeping: after an exchange that ended well, messages that
// the component itself put into the depot are deleted once they are older
// than the configured number of days (mapping/housekeeping_rules.h).
// Nothing else is ever deleted: no file of another name, no link (nor what
// it points to), nothing in a sub-folder.
#ifndef KDZV_EXCHANGE_HOUSEKEEPING_H_
#define KDZV_EXCHANGE_HOUSEKEEPING_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "interface/file_system.h"
#include "util/date_time.h"

namespace kdzv {

// At most this many deletions are tried per exchange, so that a huge depot
// (on a slow share) is worked off over several exchanges and the host's
// thread is never held for long.
inline constexpr int32_t kMaxDepotDeletions = 1000;

// Whether `name` is a message name that the component writes into the
// depot: `prefix`, one or more digits, "_", one or more digits, ".xml",
// compared without regard to case.
bool IsOwnMessageName(std::string_view name, std::string_view prefix);

struct DepotCleaning {
  int32_t deleted = 0;
  int32_t failed = 0;  // could not be deleted (held, no rights); tried again next time
};

// Deletes from `depot` the plain files with an own message name whose last
// write lies more than `keep_days` days before `now`, at most `limit` tries.
// Raises what listing the depot raises.
DepotCleaning CleanDepot(FileSystem& fs, const std::string& depot, std::string_view prefix,
                         DateTime now, int32_t keep_days, int32_t limit = kMaxDepotDeletions);

// The log line after a cleaning.
std::string HousekeepingLogLine(int32_t deleted, int32_t keep_days);

}  // namespace kdzv

#endif  // KDZV_EXCHANGE_HOUSEKEEPING_H_
