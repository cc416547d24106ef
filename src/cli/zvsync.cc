#include "cli/zvsync.h"

#include <string_view>

#include "cli/analyze.h"
#include "cli/demo_command.h"
#include "cli/history.h"
#include "cli/sync_command.h"
#include "cli/check_folders.h"
#include "interface/process.h"
#include "mapping/housekeeping_rules.h"
#include "platform/platform.h"
#include "settings/zv_settings.h"
#include "mapping/date_time_convert.h"
#include "util/date_time.h"

namespace kdzv {
namespace {

constexpr std::string_view kHelp =
    "zvsync - exchanges appointments between Halvex and Zentavo through message files\n"
    "\n"
    "Usage:\n"
    "  zvsync --help                       this text\n"
    "  zvsync --version                    the version\n"
    "  zvsync convert to-service LOCAL     local date-time (\"YYYY-MM-DD HH:MM:SS\") to the\n"
    "                                      service's UTC text (yyyymmddThhnnssZ)\n"
    "  zvsync convert to-local TEXT        the service's UTC text to the local date-time\n"
    "  zvsync settings show [--cfg FILE]   all settings, one NAME=VALUE a line, then the\n"
    "                                      housekeeping keys of the configuration file\n"
    "                                      (HOUSEKEEPING.DepotKeepDays, HOUSEKEEPING.LogMaxKB)\n"
    "  zvsync settings get NAME            one setting's value\n"
    "  zvsync settings set NAME VALUE      stores a setting (Booleans: true/false)\n"
    "  zvsync settings check-folders       makes the upload, download and depot folders where\n"
    "                                      missing; prints OK, or why a folder cannot be made\n"
    "  zvsync sync [OPTIONS]               runs one exchange with the service's agent:\n"
    "      --download DIR --upload DIR --depot DIR   the folders (--depot \"\": none)\n"
    "      --prefix TEXT --system-name TEXT         file-name prefix, system name\n"
    "      --slow-sync --log                        ask for a slow sync; write the log\n"
    "      --cfg FILE --log-file FILE               other configuration and log files\n"
    "      --host accept|refuse                     the host's answer to every event,\n"
    "      --host exec:COMMAND                      or a program that plays the host (run by\n"
    "                                               /bin/sh -c, on Windows started directly;\n"
    "                                               one JSON line per event)\n"
    "      --host-timeout SECONDS                   how long exec: waits for an answer (10)\n"
    "    options change the stored settings for this run only; the exit status is the\n"
    "    exchange's result (0 success, 1 folder missing, 3 files left, 4 cancelled, ...)\n"
    "  zvsync analyze FILE                 reads a message file of the agent and shows its\n"
    "                                      header, every command and every reader message\n"
    "  zvsync history --depot DIR [--log FILE] [--since YYYY-MM-DD] [--find TEXT]\n"
    "                 [--html FILE]        past exchanges from the depot and the log: per\n"
    "                                      session its messages, commands and failures;\n"
    "                                      --find keeps what mentions TEXT (any case),\n"
    "                                      --html also writes them as one page\n"
    "  zvsync demo [--dir DIR]             one whole exchange on fresh folders (in DIR, or a\n"
    "                                      new temporary folder): the simulated agent plays\n"
    "                                      the bundled scenario first-booking, the host\n"
    "                                      accepts everything; then a summary\n"
    "\n"
    "Conversions use the process's time zone (TZ). Settings live in the per-user store\n"
    "(on Linux ${XDG_CONFIG_HOME:-~/.config}/kdzentavo/registry).\n"
    "Exit status: 0 success, 1 failure (analyze: the file could not be read), 2 bad usage.\n";

int Usage(CliContext& context, const std::string& message) {
  context.err << "zvsync: " << message << " (see zvsync --help)\n";
  return kExitUsage;
}

// A service text has 16 characters, digits where numbers belong.
bool LooksLikeServiceText(std::string_view text) {
  if (text.size() != 16) return false;
  for (size_t i = 0; i < text.size(); ++i) {
    if (i == 8 || i == 15) continue;
    if (text[i] < '0' || text[i] > '9') return false;
  }
  return true;
}

int Convert(const std::vector<std::string>& args, CliContext& context) {
  if (args.size() != 3) return Usage(context, "convert takes a direction and one value");
  const std::string& direction = args[1];
  const std::string& value = args[2];
  if (direction == "to-service") {
    const auto local = DateTime::ParseIsoText(value);
    if (!local) return Usage(context, "not a local date-time: \"" + value + "\"");
    const std::string text =
        modDateTimeConvert::ConvertLocalToZentavoDateTime(*local, context.time_zone);
    if (text.empty()) return kExitFailure;  // reported by the conversion
    context.out << text << "\n";
    return kExitOk;
  }
  if (direction == "to-local") {
    if (!LooksLikeServiceText(value)) {
      return Usage(context, "not a service date-time (yyyymmddThhnnssZ): \"" + value + "\"");
    }
    const DateTime local =
        modDateTimeConvert::ConvertZentavoToLocalDateTime(value, context.time_zone);
    context.out << local.Format("yyyy-mm-dd hh:nn:ss") << "\n";
    return kExitOk;
  }
  return Usage(context, "unknown direction \"" + direction + "\" (to-service or to-local)");
}

int Settings(const std::vector<std::string>& args, CliContext& context) {
  if (args.size() < 2) return Usage(context, "settings needs show, get, set or check-folders");
  const std::string& action = args[1];
  clZVSettings settings(context.registry);
  const bool show_cfg = args.size() == 4 && args[2] == "--cfg";
  if (action == "show" && (args.size() == 2 || show_cfg)) {
    for (std::string_view name : clZVSettings::PropertyNames()) {
      context.out << name << "=" << settings.GetAsText(name) << "\n";
    }
    // The housekeeping keys live in the configuration file, not in the
    // store.
    ProfileFile& profile =
        context.exchange != nullptr ? context.exchange->profile : System().profile_file;
    const HousekeepingRules rules =
        ReadHousekeepingRules(profile, show_cfg ? args[3] : process::ConfigFilePath());
    context.out << kHousekeepingSection << "." << kDepotKeepDaysKey << "="
                << rules.depot_keep_days << "\n";
    context.out << kHousekeepingSection << "." << kLogMaxKbKey << "=" << rules.log_max_kb << "\n";
    return kExitOk;
  }
  if (action == "get" && args.size() == 3) {
    if (!clZVSettings::IsPropertyName(args[2])) {
      return Usage(context, "unknown setting \"" + args[2] + "\"");
    }
    context.out << settings.GetAsText(args[2]) << "\n";
    return kExitOk;
  }
  if (action == "set" && args.size() == 4) {
    if (!clZVSettings::IsPropertyName(args[2])) {
      return Usage(context, "unknown setting \"" + args[2] + "\"");
    }
    std::string error;
    if (!settings.SetFromText(args[2], args[3], &error)) return Usage(context, error);
    return kExitOk;
  }
  if (action == "check-folders" && args.size() == 2) {
    const std::vector<std::string> answer = CheckFolders(settings);
    const bool ok = answer.size() == 1 && answer[0] == "OK";
    for (const std::string& line : answer) (ok ? context.out : context.err) << line << "\n";
    return ok ? kExitOk : kExitFailure;
  }
  return Usage(context, "settings takes show, get NAME, set NAME VALUE or check-folders");
}

}  // namespace

int RunZvsync(const std::vector<std::string>& args, CliContext& context) {
  if (args.empty()) return Usage(context, "no command given");
  const std::string& command = args[0];
  if (command == "--help" || command == "-h" || command == "help") {
    context.out << kHelp;
    return kExitOk;
  }
  if (command == "--version") {
    context.out << "zvsync " << KDZV_VERSION << "\n";
    return kExitOk;
  }
  if (command == "convert") return Convert(args, context);
  if (command == "settings") return Settings(args, context);
  if (command == "sync") return SyncCommand(args, context);
  if (command == "demo") return DemoCommand(args, context);
  if (command == "history") return RunHistory(args, context);
  if (command == "analyze") {
    if (args.size() != 2) return Usage(context, "analyze takes one file");
    return AnalyzeCommand(args[1], context);
  }
  return Usage(context, "unknown command \"" + command + "\"");
}

}  // namespace kdzv
