#include "cli/sync_command.h"

#include <memory>
#include <optional>

#include "cli/hosts.h"
#include "interface/kd_zv_interface.h"
#include "interface/process.h"
#include "settings/overlay_registry.h"

namespace kdzv {

namespace {

struct SyncOptions {
  std::optional<std::string> download, upload, depot, prefix, system_name, cfg, log_file;
  bool slow_sync = false;
  bool log = false;
  std::string host = "accept";
};

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
      ok = value(options.download);
    } else if (arg == "--upload") {
      ok = value(options.upload);
    } else if (arg == "--depot") {
      ok = value(options.depot);
    } else if (arg == "--prefix") {
      ok = value(options.prefix);
    } else if (arg == "--system-name") {
      ok = value(options.system_name);
    } else if (arg == "--cfg") {
      ok = value(options.cfg);
    } else if (arg == "--log-file") {
      ok = value(options.log_file);
    } else if (arg == "--slow-sync") {
      options.slow_sync = true;
    } else if (arg == "--log") {
      options.log = true;
    } else if (arg == "--host") {
      std::optional<std::string> host;
      ok = value(host);
      if (ok) options.host = *host;
    } else {
      context.err << "zvsync: unknown option \"" << arg << "\" (see zvsync --help)\n";
      return std::nullopt;
    }
    if (!ok) return std::nullopt;
  }
  if (options.host != "accept" && options.host != "refuse") {
    context.err << "zvsync: unknown host \"" << options.host
                << "\" (accept or refuse) (see zvsync --help)\n";
    return std::nullopt;
  }
  return options;
}

}  // namespace

int SyncCommand(const std::vector<std::string>& args, CliContext& context) {
  const std::optional<SyncOptions> options = Parse(args, context);
  if (!options) return kExitUsage;
  if (context.exchange == nullptr) {
    context.err << "zvsync: sync is not available on this platform yet\n";
    return kExitFailure;
  }
  ExchangePorts& exchange = *context.exchange;
  if (options->cfg || options->log_file) {
    process::SetFilePaths(options->log_file.value_or(process::LogFilePath()),
                          options->cfg.value_or(process::ConfigFilePath()));
  }

  std::unique_ptr<CountingHost> host;
  if (options->host == "refuse") {
    host = std::make_unique<RefusingHost>(context.out);
  } else {
    host = std::make_unique<AcceptingHost>(context.out);
  }

  // Options change the settings of this run only.
  OverlayRegistry registry(context.registry);
  const InterfacePorts ports{context.file_system, exchange.clock,         context.time_zone,
                             exchange.profile,    registry,               exchange.user_interface,
                             context.xml_parser,  exchange.window,        exchange.pump};
  kdZVInterface zv(ports, *host);
  const std::shared_ptr<clZVSettings> settings = zv.Settings();
  if (options->download) settings->SetDownloadPath(*options->download);
  if (options->upload) settings->SetUploadPath(*options->upload);
  if (options->depot) settings->SetAblagePath(*options->depot);
  if (options->prefix) settings->SetFilePraefix(*options->prefix);
  if (options->system_name) settings->SetSystemName(*options->system_name);
  if (options->slow_sync) settings->SetSlowSync(true);
  if (options->log) settings->SetDoLog(true);

  if (exchange.catch_interrupt) exchange.catch_interrupt();
  std::string error;
  const enmZVRetValues result = zv.StartSync(0, error);
  if (!error.empty()) context.err << "zvsync: " << error << "\n";
  return static_cast<int>(result);
}

}  // namespace kdzv
