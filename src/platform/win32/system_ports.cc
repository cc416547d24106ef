// The real ports of Windows, created once on first use.
#include <windows.h>
#include <shellapi.h>

#include "platform/platform.h"
#include "platform/win32/msxml_parser.h"
#include "platform/win32/win32_settings_dialog.h"
#include "platform/win32/wide_text.h"
#include "platform/win32/win32_clock.h"
#include "platform/win32/win32_file_system.h"
#include "platform/win32/win32_profile_file.h"
#include "platform/win32/win32_registry.h"
#include "platform/win32/win32_sync_window.h"
#include "platform/win32/win32_time_zone.h"
#include "platform/win32/win32_user_interface.h"

namespace kdzv {

SystemPorts& System() {
  static win32::Win32FileSystem file_system;
  static win32::Win32Clock clock;
  static win32::Win32TimeZone time_zone;
  static win32::Win32ProfileFile profile_file;
  static win32::Win32Registry registry;
  static win32::Win32UserInterface user_interface;
  static win32::MsxmlParser xml_parser;
  static SystemPorts ports{file_system, clock,          time_zone, profile_file,
                           registry,    user_interface, xml_parser};
  return ports;
}

// The ANSI argv cannot hold every character; the wide command line can.
std::vector<std::string> ProgramArguments(int, char**) {
  std::vector<std::string> args;
  int count = 0;
  LPWSTR* wide = ::CommandLineToArgvW(::GetCommandLineW(), &count);
  if (wide == nullptr) return args;
  for (int i = 1; i < count; ++i) args.push_back(win32::Narrow(wide[i]));
  ::LocalFree(wide);
  // Text printed by the program is UTF-8.
  ::SetConsoleOutputCP(CP_UTF8);
  return args;
}

namespace {

// The sync window and the message pump of the process, made on first use.
win32::Win32WindowPlatform& Windows() {
  static win32::Win32WindowPlatform windows;
  return windows;
}

}  // namespace

SyncWindowPlatform* HeadlessWindowPlatform() { return &Windows(); }
MessagePump* HeadlessMessagePump() { return &Windows(); }
FolderChanges* HeadlessFolderChanges() { return &Windows(); }
SettingsDialogPlatform* SettingsDialogs() {
  static win32::Win32SettingsDialogPlatform dialogs;
  return &dialogs;
}
void CatchInterrupt() { win32::Win32WindowPlatform::CatchInterrupt(); }

}  // namespace kdzv
