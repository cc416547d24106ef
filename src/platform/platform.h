// The real implementations of the core's ports on this operating system,
// created once per process on first use.
#ifndef KDZV_PLATFORM_PLATFORM_H_
#define KDZV_PLATFORM_PLATFORM_H_

#include <string>
#include <vector>

namespace kdzv {

class Clock;
class FileSystem;
class FolderChanges;
class MessagePump;
class SyncWindowPlatform;
class ProfileFile;
class RegistryBackend;
class SettingsDialogPlatform;
class TimeZoneSource;
class UserInterface;
class XmlParser;

struct SystemPorts {
  FileSystem& file_system;
  Clock& clock;
  TimeZoneSource& time_zone;
  ProfileFile& profile_file;
  RegistryBackend& registry;
  UserInterface& user_interface;
  XmlParser& xml_parser;
};

SystemPorts& System();

// The sync window's parts and the message loop of this system for a host
// program such as zvsync: on Linux an event loop with a terminal view, on
// Windows the real window, Win32 timers and the thread's message pump.
SyncWindowPlatform* HeadlessWindowPlatform();
MessagePump* HeadlessMessagePump();
// The notifications of folder changes that belong to that message loop: on
// Linux inotify in the event loop; on Windows change notification handles
// in the pump's wait.
FolderChanges* HeadlessFolderChanges();
// The settings dialog of this system: a real dialog on Windows; none on
// Linux (null), where zvsync edits the settings on the command line.
SettingsDialogPlatform* SettingsDialogs();
// Makes Ctrl+C on the terminal or console ask the sync window's cancel
// question, as its close box does.
void CatchInterrupt();

// The full path of the binary that contains the component: the DLL on
// Windows; on Linux the shared object or the executable it is linked into.
std::string ComponentModulePath();

// The program's arguments (without its name) as UTF-8.
std::vector<std::string> ProgramArguments(int argc, char** argv);

// The platform's path separator.
char PathSeparator();

// Sets the process-wide values of a freshly loaded component: message boxes
// through the system's user interface, the system's time zone, log and
// configuration file beside the component's binary.
void InitializeProcess();

}  // namespace kdzv

#endif  // KDZV_PLATFORM_PLATFORM_H_
