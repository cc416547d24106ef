// A shared object that contains the core, as a host would load it: it
// answers where the component thinks its own binary lies.
#include <string>

#include "interface/component_paths.h"
#include "platform/platform.h"

extern "C" __attribute__((visibility("default"))) const char* kdzv_probe_log_file() {
  static std::string log_file;
  log_file = kdzv::ComponentPathsFor(kdzv::ComponentModulePath(), kdzv::PathSeparator()).log_file;
  return log_file.c_str();
}
