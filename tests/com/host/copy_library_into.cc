// CopyLibraryInto of host_environment.h: a copy of the library under test in
// a folder of its own, for the tests that load it themselves.
#include <windows.h>

#include <string>

#include "automation_client.h"
#include "host_environment.h"
#include "host_files.h"

namespace kdzv::host {

std::wstring CopyLibraryInto(const std::wstring& folder) {
  RemoveTree(folder);
  ::CreateDirectoryW(WindowsPath(KDZV_HOST_WORK_DIR).c_str(), nullptr);
  if (!::CreateDirectoryW(folder.c_str(), nullptr)) return {};
  const std::wstring library = folder + L"\\kdZentavo.dll";
  if (!::CopyFileW(LibraryPath().c_str(), library.c_str(), TRUE)) return {};
  return library;
}

}  // namespace kdzv::host
