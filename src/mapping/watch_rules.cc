#include "mapping/watch_rules.h"

#include <string>

#include "interface/error_report.h"
#include "util/text.h"

namespace kdzv {

bool ReadChangeNotification(ProfileFile& profile, std::string_view file) {
  try {
    const std::string value =
        profile.GetString(kWatchSection, kChangeNotificationKey, "1", 255, file);
    return Trim(value) != "0";
  } catch (...) {
    ReportCurrentError("clZVMatching", "ReadChangeNotification", "File=" + std::string(file));
    return true;
  }
}

}  // namespace kdzv
