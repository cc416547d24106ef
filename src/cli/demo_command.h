// zvsync demo: one whole exchange on a fresh set of folders, the bundled
// first-booking scenario of the simulated agent on a second thread and the
// accepting host on this one; every line on screen, then a summary.
#ifndef KDZV_CLI_DEMO_COMMAND_H_
#define KDZV_CLI_DEMO_COMMAND_H_

#include <string>
#include <vector>

#include "cli/zvsync.h"

namespace kdzv {

// `zvsync demo [--dir DIR]`. Exit 0 when the exchange
// succeeded and the agent saw everything it expected, 1 otherwise, 2 for
// bad usage.
int DemoCommand(const std::vector<std::string>& args, CliContext& context);

}  // namespace kdzv

#endif  // KDZV_CLI_DEMO_COMMAND_H_
