#include "platform/platform.h"

#include "interface/component_paths.h"
#include "interface/process.h"

namespace kdzv {

void InitializeProcess() {
  process::SetMessageBoxes(&System().user_interface);
  process::SetTimeZone(&System().time_zone);
  const ComponentPaths paths = ComponentPathsFor(ComponentModulePath(), PathSeparator());
  process::SetFilePaths(paths.log_file, paths.config_file);
}

}  // namespace kdzv
