// The real ports of Linux, created once on first use.
#include <cstdio>

#include "platform/platform.h"
#include "platform/posix/event_loop.h"
#include "platform/posix/file_registry.h"
#include "platform/posix/libxml2_parser.h"
#include "platform/posix/posix_clock.h"
#include "platform/posix/posix_file_system.h"
#include "platform/posix/posix_profile_file.h"
#include "platform/posix/posix_time_zone.h"
#include "platform/posix/posix_user_interface.h"

namespace kdzv {

SystemPorts& System() {
  static posix::PosixFileSystem file_system;
  static posix::PosixClock clock;
  static posix::PosixTimeZone time_zone;
  static posix::PosixProfileFile profile_file;
  static posix::FileRegistry registry = posix::FileRegistry::WithDefaultRoots();
  static posix::PosixUserInterface user_interface(stderr, stdin);
  static posix::Libxml2Parser xml_parser;
  static SystemPorts ports{file_system, clock,          time_zone, profile_file,
                           registry,    user_interface, xml_parser};
  return ports;
}

namespace {

posix::EventLoop& Loop() {
  static posix::EventLoop loop;
  return loop;
}

}  // namespace

SyncWindowPlatform* HeadlessWindowPlatform() { return &Loop(); }
MessagePump* HeadlessMessagePump() { return &Loop(); }
FolderChanges* HeadlessFolderChanges() { return &Loop(); }
SettingsDialogPlatform* SettingsDialogs() { return nullptr; }
void CatchInterrupt() { posix::EventLoop::CatchInterrupt(); }

std::vector<std::string> ProgramArguments(int argc, char** argv) {
  return std::vector<std::string>(argv + 1, argv + argc);
}

}  // namespace kdzv
