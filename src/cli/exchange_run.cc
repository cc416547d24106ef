#include "cli/exchange_run.h"

#include "cli/sync_command.h"
#include "exchange/kd_zv_interface.h"
#include "interface/process.h"
#include "platform/platform.h"
#include "settings/overlay_registry.h"

namespace kdzv {

enmZVRetValues RunExchange(const ExchangeOverrides& overrides, CliContext& context,
                           HostEvents& host, std::string& error,
                           const std::function<void(kdZVInterface*)>& around) {
  ExchangePorts& exchange = *context.exchange;
  if (overrides.cfg || overrides.log_file) {
    process::SetFilePaths(overrides.log_file.value_or(process::LogFilePath()),
                          overrides.cfg.value_or(process::ConfigFilePath()));
  }
  OverlayRegistry registry(context.registry);
  const InterfacePorts ports{context.file_system, exchange.clock,         context.time_zone,
                             exchange.profile,    registry,               exchange.user_interface,
                             context.xml_parser,  exchange.window,        exchange.pump};
  kdZVInterface zv(ports, host);
  // Notifications belong to the system's own loop: a bench or test that
  // brings its own pump gets none.
  if (&exchange.pump == HeadlessMessagePump()) zv.SetFolderChanges(HeadlessFolderChanges());
  const std::shared_ptr<clZVSettings> settings = zv.Settings();
  if (overrides.download) settings->SetDownloadPath(*overrides.download);
  if (overrides.upload) settings->SetUploadPath(*overrides.upload);
  if (overrides.depot) settings->SetAblagePath(*overrides.depot);
  if (overrides.prefix) settings->SetFilePraefix(*overrides.prefix);
  if (overrides.system_name) settings->SetSystemName(*overrides.system_name);
  if (overrides.slow_sync) settings->SetSlowSync(true);
  if (overrides.log) settings->SetDoLog(true);
  if (around) around(&zv);

  if (exchange.catch_interrupt) exchange.catch_interrupt();
  const enmZVRetValues result = zv.StartSync(0, error);
  if (around) around(nullptr);
  return result;
}

}  // namespace kdzv
