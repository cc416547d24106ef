#include "interface/component_paths.h"

namespace kdzv {

ComponentPaths ComponentPathsFor(std::string_view module_path, char separator) {
  const std::string_view separators = separator == '\\' ? std::string_view("\\/") : "/";
  const size_t cut = module_path.find_last_of(separators);

  ComponentPaths paths;
  std::string_view file_name = module_path;
  if (cut != std::string_view::npos) {
    paths.folder = std::string(module_path.substr(0, cut + 1));
    file_name = module_path.substr(cut + 1);
  }

  const size_t dot = file_name.rfind('.');
  paths.base_name = std::string(dot == std::string_view::npos || dot == 0
                                    ? file_name
                                    : file_name.substr(0, dot));
  paths.log_file = paths.folder + paths.base_name + ".log";
  paths.config_file = paths.folder + paths.base_name + ".cfg";
  return paths;
}

}  // namespace kdzv
