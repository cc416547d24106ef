#include "cli/demo_command.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <iomanip>
#include <optional>
#include <thread>

#include "agent/agent.h"
#include "cli/exchange_run.h"
#include "cli/hosts.h"
#include "cli/line_stream.h"
#include "interface/file_system.h"

namespace kdzv {

namespace {

namespace fs = std::filesystem;

// The scenario the demo plays: it suits the accepting host and a normal
// (not slow) synchronisation.
constexpr const char* kDemoScenario = "first-booking";

struct DemoOptions {
  std::string dir;
};

std::optional<DemoOptions> Parse(const std::vector<std::string>& args, CliContext& context) {
  DemoOptions options;
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg == "--dir" && i + 1 < args.size()) {
      options.dir = args[++i];
    } else {
      context.err << "zvsync: demo takes only --dir DIR (see zvsync --help)\n";
      return std::nullopt;
    }
  }
  return options;
}

// A new folder for this demo: DIR itself (which must not hold anything
// yet), or a fresh one in the system's temporary folder.
std::optional<std::string> MakeDemoFolder(const std::string& wanted, std::string& error) {
  std::error_code ec;
  if (!wanted.empty()) {
    if (fs::exists(wanted, ec) && !fs::is_empty(wanted, ec)) {
      error = "the folder is not empty: " + wanted;
      return std::nullopt;
    }
    fs::create_directories(wanted, ec);
    if (ec) {
      error = "cannot create " + wanted + ": " + ec.message();
      return std::nullopt;
    }
    return wanted;
  }
  const fs::path temp = fs::temp_directory_path(ec);
  const auto stamp = std::chrono::system_clock::now().time_since_epoch().count();
  for (int attempt = 0; attempt < 100; ++attempt) {
    const fs::path folder =
        temp / ("kdzentavo-demo-" + std::to_string(stamp) + "-" + std::to_string(attempt));
    if (fs::create_directory(folder, ec)) return folder.string();
  }
  error = "cannot create a folder in " + temp.string();
  return std::nullopt;
}

void PrintCounts(std::ostream& out, const std::map<std::string, int>& counts) {
  if (counts.empty()) out << "  (none)\n";
  for (const auto& [kind, count] : counts) {
    out << "  " << std::left << std::setw(28) << kind << std::right << std::setw(4) << count
        << "\n";
  }
}

}  // namespace

int DemoCommand(const std::vector<std::string>& args, CliContext& context) {
  const std::optional<DemoOptions> options = Parse(args, context);
  if (!options) return kExitUsage;
  if (context.exchange == nullptr) {
    context.err << "zvsync: demo needs a sync window and a message loop, and none was given\n";
    return kExitFailure;
  }
  std::string error;
  const std::optional<agent::Scenario> scenario =
      agent::LoadBundledScenario(kDemoScenario, error);
  if (!scenario) {
    context.err << "zvsync: demo: " << error << "\n";
    return kExitFailure;
  }
  const std::optional<std::string> root = MakeDemoFolder(options->dir, error);
  if (!root) {
    context.err << "zvsync: demo: " << error << "\n";
    return kExitFailure;
  }
  FileSystem& files = context.file_system;
  const std::string up = files.BuildPath(*root, "upload");
  const std::string down = files.BuildPath(*root, "download");
  const std::string depot = files.BuildPath(*root, "depot");
  const std::string received = files.BuildPath(*root, "received");
  for (const std::string& folder : {up, down, depot, received}) fs::create_directory(folder);

  ExchangeOverrides overrides;
  overrides.download = down;
  overrides.upload = up;
  overrides.depot = depot;
  overrides.prefix = "HX";
  overrides.cfg = files.BuildPath(*root, "kdZentavo.cfg");
  overrides.log_file = files.BuildPath(*root, "kdZentavo.log");
  overrides.log = true;

  context.out << "== kdZentavo demo: scenario \"" << scenario->name
              << "\" of the simulated agent, against a host that accepts everything\n";
  for (const std::string& line : scenario->about) context.out << "   " << line << "\n";
  context.out << "   Folders in " << *root << "\n\n" << std::flush;

  // The agent answers on its own thread; both sides print whole lines.
  SharedLines lines(context.out);
  LineStream exchange_out(lines);
  std::atomic<bool> stop{false};
  agent::AgentReport report;
  int agent_result = agent::kRunFailed;
  std::thread agent_thread([&] {
    LineStream agent_out(lines);
    const agent::AgentOptions agent_options{up, down, received, &stop};
    agent_result = agent::RunScenario(*scenario, agent_options, agent_out, &report);
  });

  CliContext exchange_context{context.time_zone, context.registry,   context.xml_parser,
                              context.file_system, exchange_out, context.err,
                              context.exchange};
  AcceptingHost host(exchange_out);
  std::string sync_error;
  const enmZVRetValues result = RunExchange(overrides, exchange_context, host, sync_error);
  // An exchange that ended early leaves the agent waiting: end it too.
  if (result != ZV_Success) stop = true;
  agent_thread.join();
  exchange_out.flush();

  std::ostream& out = context.out;
  out << "\n== Summary\n";
  out << "Result of the exchange: " << static_cast<int>(result)
      << (result == ZV_Success ? " (success)" : "") << "\n";
  if (!sync_error.empty()) out << "Error text: " << sync_error << "\n";
  out << "Events raised to the host:\n";
  PrintCounts(out, host.Counts());
  out << "Commands the component sent to the service (statuses, maps, replaces, alerts):\n";
  PrintCounts(out, report.commands);
  std::vector<std::string> deposited = files.ListFiles(depot);
  std::sort(deposited.begin(), deposited.end());
  out << "Files in the depot (" << deposited.size() << "):";
  for (const std::string& name : deposited) out << " " << name;
  out << "\n";
  out << "Agent: " << report.received << " messages received, " << report.sent
      << " files written, " << report.checks << " checks, " << report.failures << " failed: "
      << (agent_result == agent::kRunPassed ? "passed" : "FAILED") << "\n";
  out << "Log file: " << *overrides.log_file << "\n";
  return result == ZV_Success && agent_result == agent::kRunPassed ? kExitOk : kExitFailure;
}

}  // namespace kdzv
