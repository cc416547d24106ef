// One exchange as zvsync runs it: the stored settings with this run's
// overrides (kept in memory only), the configuration and log files, and a
// host; used by `zvsync sync` and `zvsync demo`.
#ifndef KDZV_CLI_EXCHANGE_RUN_H_
#define KDZV_CLI_EXCHANGE_RUN_H_

#include <functional>
#include <optional>
#include <string>

#include "cli/zvsync.h"
#include "interface/enums.h"

namespace kdzv {

class HostEvents;
class kdZVInterface;

// Settings and files that differ from the stored ones for this run only.
struct ExchangeOverrides {
  std::optional<std::string> download, upload, depot, prefix, system_name;
  std::optional<std::string> cfg, log_file;  // instead of the files beside the binary
  bool slow_sync = false;
  bool log = false;
};

// Runs StartSync with `host` on the exchange ports of `context` (which must
// be there) and returns its result; `error` receives StartSync's error text.
// `around`, when given, sees the interface object before the exchange
// begins, and null right after StartSync has returned, while the object
// still exists (the exec bridge logs through it and ends its host then).
enmZVRetValues RunExchange(const ExchangeOverrides& overrides, CliContext& context,
                           HostEvents& host, std::string& error,
                           const std::function<void(kdZVInterface*)>& around = {});

}  // namespace kdzv

#endif  // KDZV_CLI_EXCHANGE_RUN_H_
