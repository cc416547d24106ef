#include "platform/win32/win32_file_system.h"

#include <windows.h>

#include <algorithm>
#include <string>

#include "platform/win32/unique_handle.h"
#include "platform/win32/win32_error.h"
#include "platform/win32/wide_text.h"

namespace kdzv::win32 {

void Win32FileSystem::AppendToFile(std::string_view path, std::string_view bytes) {
  // Others may read and write the file meanwhile (the log is read while the
  // component runs).
  UniqueHandle file(::CreateFileW(Widen(path).c_str(), FILE_APPEND_DATA,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                                  FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file.valid()) RaiseFileError(::GetLastError(), "AppendToFile");
  size_t written = 0;
  while (written < bytes.size()) {
    const DWORD chunk = static_cast<DWORD>(std::min<size_t>(bytes.size() - written, 1u << 30));
    DWORD done = 0;
    if (!::WriteFile(file.get(), bytes.data() + written, chunk, &done, nullptr)) {
      RaiseFileError(::GetLastError(), "AppendToFile");
    }
    written += done;
  }
  if (!::CloseHandle(file.release())) RaiseFileError(::GetLastError(), "AppendToFile");
}

}  // namespace kdzv::win32
