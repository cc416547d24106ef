# Writes a C++ source holding the text of every scenario file in INPUTS
# (a ;-separated list), for kdzv::agent::BundledScenarios().
set(body "")
foreach(input IN LISTS INPUTS)
  get_filename_component(name ${input} NAME_WE)
  file(READ ${input} text)
  string(APPEND body "      {\"${name}\", R\"zvs(${text})zvs\"},\n")
endforeach()
file(WRITE ${OUTPUT}.tmp
"// Generated from scenarios/*.zvs at build time; do not edit.
#include \"agent/bundled_scenarios.h\"

namespace kdzv::agent {

const std::vector<BundledScenario>& BundledScenarios() {
  static const std::vector<BundledScenario> scenarios = {
${body}  };
  return scenarios;
}

}  // namespace kdzv::agent
")
file(COPY_FILE ${OUTPUT}.tmp ${OUTPUT} ONLY_IF_DIFFERENT)
file(REMOVE ${OUTPUT}.tmp)
