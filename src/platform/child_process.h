// Starts a command as a child process and talks to it by lines
// through its standard input and output; its standard error is zvsync's.
#ifndef KDZV_PLATFORM_CHILD_PROCESS_H_
#define KDZV_PLATFORM_CHILD_PROCESS_H_

#include <memory>
#include <string>

#include "platform/host_channel.h"

namespace kdzv {

// Runs `command`: on Linux with the system's shell (/bin/sh -c COMMAND), on
// Windows as a command line of its own (CreateProcessW: the program is the
// first word; "cmd /c ..." gives a shell). Null, with `error` set to the
// reason, when the child cannot be started.
std::unique_ptr<HostChannel> StartShellCommand(const std::string& command, std::string& error);

}  // namespace kdzv

#endif  // KDZV_PLATFORM_CHILD_PROCESS_H_
