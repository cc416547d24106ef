// Whether the wait for an answer also listens to the system's notifications
// of changes in the download folder (beside the poll every 500 ms): section
// "WATCH", key "ChangeNotification" of the configuration file, 1 (the
// default) on, 0 off.
#ifndef KDZV_MAPPING_WATCH_RULES_H_
#define KDZV_MAPPING_WATCH_RULES_H_

#include <string_view>

#include "mapping/profile_file.h"

namespace kdzv {

inline constexpr std::string_view kWatchSection = "WATCH";
inline constexpr std::string_view kChangeNotificationKey = "ChangeNotification";

// False only for a value that reads as the number 0 ("0", " 0"); true when
// the key is missing, for any other value, and when the file cannot be read
// (reported as an error of "clZVMatching"/"ReadChangeNotification").
bool ReadChangeNotification(ProfileFile& profile, std::string_view file);

}  // namespace kdzv

#endif  // KDZV_MAPPING_WATCH_RULES_H_
