// The log and configuration files lie beside the component's own binary and
// share its base name: C:\Halvex\kdZentavo.dll logs to C:\Halvex\kdZentavo.log
// and keeps its session number in C:\Halvex\kdZentavo.cfg.
#ifndef KDZV_INTERFACE_COMPONENT_PATHS_H_
#define KDZV_INTERFACE_COMPONENT_PATHS_H_

#include <string>
#include <string_view>

namespace kdzv {

struct ComponentPaths {
  std::string folder;       // ends with the separator (unless empty)
  std::string base_name;    // file name without its extension
  std::string log_file;     // folder + base_name + ".log"
  std::string config_file;  // folder + base_name + ".cfg"
};

// Splits `module_path` (the full path of the binary that contains the
// component) with `separator` ('\\' on Windows, where '/' is accepted too;
// '/' elsewhere). A folder that already ends with the separator (a drive
// root, "/") gets none appended.
ComponentPaths ComponentPathsFor(std::string_view module_path, char separator);

}  // namespace kdzv

#endif  // KDZV_INTERFACE_COMPONENT_PATHS_H_
