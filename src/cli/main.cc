// zvsync's entry point: the real ports of this system, then the commands.
#include <iostream>
#include <string>
#include <vector>

#include "cli/sync_command.h"
#include "cli/zvsync.h"
#include "platform/platform.h"

int main(int argc, char** argv) {
  kdzv::InitializeProcess();
  kdzv::SystemPorts& system = kdzv::System();
  kdzv::CliContext context{system.time_zone, system.registry, system.xml_parser,
                           system.file_system, std::cout, std::cerr};
  kdzv::ExchangePorts exchange{system.clock, system.profile_file, system.user_interface,
                               *kdzv::HeadlessWindowPlatform(), *kdzv::HeadlessMessagePump(),
                               &kdzv::CatchInterrupt};
  context.exchange = &exchange;
  const std::vector<std::string> args = kdzv::ProgramArguments(argc, argv);
  return kdzv::RunZvsync(args, context);
}
