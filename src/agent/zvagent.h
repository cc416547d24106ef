// The zvagent program: runs a scenario file or a bundled scenario against
// the exchange folders, or lists the bundled scenarios.
#ifndef KDZV_AGENT_ZVAGENT_H_
#define KDZV_AGENT_ZVAGENT_H_

#include <ostream>
#include <string>
#include <vector>

namespace kdzv::agent {

inline constexpr int kExitUsage = 2;

// `args` without the program's name. The transcript and the list go to
// `out`, usage and syntax errors to `err`. Returns the exit status: 0 the
// scenario passed (or --list, --help), 1 it failed, 2 bad usage or a
// scenario that does not parse.
int ZvagentMain(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace kdzv::agent

#endif  // KDZV_AGENT_ZVAGENT_H_
