// Starts a shell command as a child process and talks to it by lines
// through its standard input and output; its standard error is zvsync's.
#ifndef KDZV_PLATFORM_CHILD_PROCESS_H_
#define KDZV_PLATFORM_CHILD_PROCESS_H_

#include <memory>
#include <string>

#include "platform/host_channel.h"

namespace kdzv {

// Runs `command` with the system's shell (/bin/sh -c COMMAND). Null, with
// `error` set to the reason, when the child cannot be started or the
// platform has no such children.
std::unique_ptr<HostChannel> StartShellCommand(const std::string& command, std::string& error);

}  // namespace kdzv

#endif  // KDZV_PLATFORM_CHILD_PROCESS_H_
