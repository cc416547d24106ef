#include "cli/sync_command.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "cli/exchange_run.h"
#include "cli/exec_host.h"
#include "cli/hosts.h"
#include "exchange/kd_zv_interface.h"
#include "platform/child_process.h"

namespace kdzv {

namespace {

struct SyncOptions {
  ExchangeOverrides run;
  std::string host = "accept";
  // With --host exec:COMMAND: the command, and how long it may take to answer.
  std::string exec_command;
  int32_t host_timeout = ExecHost::kDefaultTimeoutSeconds;
};

constexpr std::string_view kExecPrefix = "exec:";
constexpr int32_t kMaxHostTimeout = 86400;

// A whole number of seconds from 1 to kMaxHostTimeout.
std::optional<int32_t> ParseSeconds(const std::string& text) {
  if (text.empty() || text.size() > 5) return std::nullopt;
  int32_t seconds = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    seconds = seconds * 10 + (c - '0');
  }
  if (seconds < 1 || seconds > kMaxHostTimeout) return std::nullopt;
  return seconds;
}

bool IsBlank(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

// Parses the options; an empty optional result means bad usage (reported).
std::optional<SyncOptions> Parse(const std::vector<std::string>& args, CliContext& context) {
  SyncOptions options;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& arg = args[i];
    const auto value = [&](std::optional<std::string>& target) {
      if (i + 1 >= args.size()) {
        context.err << "zvsync: " << arg << " needs a value (see zvsync --help)\n";
        return false;
      }
      target = args[++i];
      return true;
    };
    bool ok = true;
    if (arg == "--download") {
      ok = value(options.run.download);
    } else if (arg == "--upload") {
      ok = value(options.run.upload);
    } else if (arg == "--depot") {
      ok = value(options.run.depot);
    } else if (arg == "--prefix") {
      ok = value(options.run.prefix);
    } else if (arg == "--system-name") {
      ok = value(options.run.system_name);
    } else if (arg == "--cfg") {
      ok = value(options.run.cfg);
    } else if (arg == "--log-file") {
      ok = value(options.run.log_file);
    } else if (arg == "--slow-sync") {
      options.run.slow_sync = true;
    } else if (arg == "--log") {
      options.run.log = true;
    } else if (arg == "--host") {
      std::optional<std::string> host;
      ok = value(host);
      if (ok) options.host = *host;
    } else if (arg == "--host-timeout") {
      std::optional<std::string> text;
      ok = value(text);
      if (!ok) return std::nullopt;
      const std::optional<int32_t> seconds = ParseSeconds(*text);
      if (!seconds) {
        context.err << "zvsync: --host-timeout needs a whole number of seconds from 1 to "
                    << kMaxHostTimeout << ", not \"" << *text << "\" (see zvsync --help)\n";
        return std::nullopt;
      }
      options.host_timeout = *seconds;
    } else {
      context.err << "zvsync: unknown option \"" << arg << "\" (see zvsync --help)\n";
      return std::nullopt;
    }
    if (!ok) return std::nullopt;
  }
  if (options.host.rfind(kExecPrefix, 0) == 0) {
    options.exec_command = options.host.substr(kExecPrefix.size());
    if (IsBlank(options.exec_command)) {
      context.err << "zvsync: --host exec: needs a command (see zvsync --help)\n";
      return std::nullopt;
    }
  } else if (options.host != "accept" && options.host != "refuse") {
    context.err << "zvsync: unknown host \"" << options.host
                << "\" (accept, refuse or exec:COMMAND) (see zvsync --help)\n";
    return std::nullopt;
  }
  return options;
}

}  // namespace

int SyncCommand(const std::vector<std::string>& args, CliContext& context) {
  const std::optional<SyncOptions> options = Parse(args, context);
  if (!options) return kExitUsage;
  if (context.exchange == nullptr) {
    context.err << "zvsync: sync needs a sync window and a message loop, and none was given\n";
    return kExitFailure;
  }
  // The bridge host reports its problems on standard error and, once the
  // interface object exists, into the component's log.
  kdZVInterface* log_target = nullptr;
  ExecHost* bridge = nullptr;
  std::unique_ptr<CountingHost> host;
  if (!options->exec_command.empty()) {
    std::string error;
    std::unique_ptr<HostChannel> channel = StartShellCommand(options->exec_command, error);
    if (!channel) {
      context.err << "zvsync: cannot start the host: " << error << "\n";
      return kExitFailure;
    }
    auto report = [&context, &log_target](const std::string& text) {
      context.err << "zvsync: host: " << text << "\n" << std::flush;
      if (log_target != nullptr) log_target->WriteLogLine("(ExecHost) --> ERROR: " + text);
    };
    auto exec_host = std::make_unique<ExecHost>(context.out, std::move(channel), report,
                                                options->host_timeout);
    bridge = exec_host.get();
    host = std::move(exec_host);
  } else if (options->host == "refuse") {
    host = std::make_unique<RefusingHost>(context.out);
  } else {
    host = std::make_unique<AcceptingHost>(context.out);
  }

  std::string error;
  const enmZVRetValues result =
      RunExchange(options->run, context, *host, error, [&](kdZVInterface* zv) {
        if (zv == nullptr && bridge != nullptr) bridge->Finish();
        log_target = zv;
      });
  if (!error.empty()) context.err << "zvsync: " << error << "\n";
  return static_cast<int>(result);
}

}  // namespace kdzv
