#include "platform/child_process.h"

namespace kdzv {

// The Windows build has no headless exchange yet, hence no bridge host.
std::unique_ptr<HostChannel> StartShellCommand(const std::string&, std::string& error) {
  error = "the exec host is not available on this platform";
  return nullptr;
}

}  // namespace kdzv
