#include "platform/locked_file.h"

#include <windows.h>

#include <algorithm>

#include "platform/win32/unique_handle.h"
#include "platform/win32/wide_text.h"
#include "platform/win32/win32_error.h"

namespace kdzv {

void WriteFileHoldingLock(const std::string& path, std::string_view bytes, int hold_ms) {
  constexpr const char* kProcedure = "WriteFileHoldingLock";
  // Share mode 0: while the handle is open, every other open of the file
  // fails with a sharing violation, the component's probe included.
  win32::UniqueHandle file(::CreateFileW(win32::Widen(path).c_str(), GENERIC_WRITE, 0, nullptr,
                                         CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file.valid()) win32::RaiseFileError(::GetLastError(), kProcedure);
  size_t written = 0;
  while (written < bytes.size()) {
    const DWORD chunk = static_cast<DWORD>(std::min<size_t>(bytes.size() - written, 1u << 30));
    DWORD done = 0;
    if (!::WriteFile(file.get(), bytes.data() + written, chunk, &done, nullptr)) {
      win32::RaiseFileError(::GetLastError(), kProcedure);
    }
    written += done;
  }
  if (hold_ms > 0) ::Sleep(static_cast<DWORD>(hold_ms));
  if (!::CloseHandle(file.release())) win32::RaiseFileError(::GetLastError(), kProcedure);
}

}  // namespace kdzv
