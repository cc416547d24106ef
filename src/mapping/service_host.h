// The service's web host, which names the namespace of every message
// written: "http://" + host + "/WebServices/ZVSync/xml/SyncZV.xsd". It is
// read from the configuration file, section "SERVICE", key "WebHost";
// without that key the service's public host is used.
#ifndef KDZV_MAPPING_SERVICE_HOST_H_
#define KDZV_MAPPING_SERVICE_HOST_H_

#include <string>
#include <string_view>

#include "mapping/profile_file.h"

namespace kdzv {

inline constexpr std::string_view kDefaultServiceHost = "www.zentavo.de";

// The host from the configuration file `file`; the default when the key is
// missing or empty, or the file cannot be read (reported as an error of
// "clZVMatching"/"ReadServiceHost").
std::string ReadServiceHost(ProfileFile& profile, std::string_view file);

}  // namespace kdzv

#endif  // KDZV_MAPPING_SERVICE_HOST_H_
