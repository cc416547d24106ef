// zvsync, the command-line host of the component.
#ifndef KDZV_CLI_ZVSYNC_H_
#define KDZV_CLI_ZVSYNC_H_

#include <ostream>
#include <string>
#include <vector>

namespace kdzv {

struct ExchangePorts;
class FileSystem;
class RegistryBackend;
class TimeZoneSource;
class XmlParser;

struct CliContext {
  TimeZoneSource& time_zone;
  RegistryBackend& registry;
  XmlParser& xml_parser;
  FileSystem& file_system;
  std::ostream& out;
  std::ostream& err;
  // The ports of an exchange (zvsync sync and demo); the program always
  // gives them, a caller that only parses may leave them out.
  ExchangePorts* exchange = nullptr;
};

// Exit statuses of zvsync's own commands.
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

// Runs zvsync with `args` (without the program name).
int RunZvsync(const std::vector<std::string>& args, CliContext& context);

}  // namespace kdzv

#endif  // KDZV_CLI_ZVSYNC_H_
