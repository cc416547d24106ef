#include "mapping/service_host.h"

#include "interface/error_report.h"
#include "util/text.h"

namespace kdzv {

std::string ReadServiceHost(ProfileFile& profile, std::string_view file) {
  try {
    const std::string value = profile.GetString("SERVICE", "WebHost", kDefaultServiceHost, 255, file);
    const std::string host(Trim(value));
    return host.empty() ? std::string(kDefaultServiceHost) : host;
  } catch (...) {
    ReportCurrentError("clZVMatching", "ReadServiceHost", "File=" + std::string(file));
    return std::string(kDefaultServiceHost);
  }
}

}  // namespace kdzv
