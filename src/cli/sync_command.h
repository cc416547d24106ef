// zvsync sync: one whole exchange, headless, with a host that accepts or
// refuses every event, or with a program that plays the host (exec:).
#ifndef KDZV_CLI_SYNC_COMMAND_H_
#define KDZV_CLI_SYNC_COMMAND_H_

#include <functional>
#include <string>
#include <vector>

#include "cli/zvsync.h"

namespace kdzv {

class Clock;
class MessagePump;
class ProfileFile;
class SyncWindowPlatform;
class UserInterface;

// What an exchange needs besides the context's ports.
struct ExchangePorts {
  Clock& clock;
  ProfileFile& profile;
  UserInterface& user_interface;
  SyncWindowPlatform& window;
  MessagePump& pump;
  // Makes Ctrl+C press the cancel button.
  std::function<void()> catch_interrupt;
};

// Exit status: the numeric result of the exchange (0 success, 1 folder
// missing, 3 files left, 4 cancelled, 5 general, 6 log not writable), or 2
// for bad usage.
int SyncCommand(const std::vector<std::string>& args, CliContext& context);

}  // namespace kdzv

#endif  // KDZV_CLI_SYNC_COMMAND_H_
