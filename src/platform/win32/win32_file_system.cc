#include "platform/win32/win32_file_system.h"

#include <windows.h>

#include <algorithm>
#include <string>

#include "platform/win32/unique_handle.h"
#include "platform/win32/win32_error.h"
#include "platform/win32/wide_text.h"

namespace kdzv::win32 {

namespace {

// Opens `path` (others may read and write it meanwhile: the log is read
// while the component runs), writes `bytes` and closes it.
void WriteBytes(std::string_view path, DWORD access, DWORD disposition, std::string_view bytes,
                const char* procedure) {
  UniqueHandle file(::CreateFileW(Widen(path).c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                  nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file.valid()) RaiseFileError(::GetLastError(), procedure);
  size_t written = 0;
  while (written < bytes.size()) {
    const DWORD chunk = static_cast<DWORD>(std::min<size_t>(bytes.size() - written, 1u << 30));
    DWORD done = 0;
    if (!::WriteFile(file.get(), bytes.data() + written, chunk, &done, nullptr)) {
      RaiseFileError(::GetLastError(), procedure);
    }
    written += done;
  }
  if (!::CloseHandle(file.release())) RaiseFileError(::GetLastError(), procedure);
}

// UTF-8 to the ANSI code page; without best-fit mapping, so a character the
// code page lacks becomes "?" instead of a look-alike.
std::string ToAnsiCodePage(std::string_view text) {
  const std::wstring wide = Widen(text);
  if (wide.empty()) return {};
  const int length = static_cast<int>(wide.size());
  const int size = ::WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, wide.data(), length,
                                         nullptr, 0, "?", nullptr);
  if (size <= 0) RaiseFileError(::GetLastError(), "WriteTextFile");
  std::string out(static_cast<size_t>(size), '\0');
  ::WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, wide.data(), length, out.data(), size, "?",
                        nullptr);
  return out;
}

}  // namespace

void Win32FileSystem::AppendToFile(std::string_view path, std::string_view bytes) {
  WriteBytes(path, FILE_APPEND_DATA, OPEN_ALWAYS, bytes, "AppendToFile");
}

void Win32FileSystem::WriteTextFile(std::string_view path, std::string_view text) {
  WriteBytes(path, GENERIC_WRITE, CREATE_ALWAYS, ToAnsiCodePage(text), "WriteTextFile");
}

}  // namespace kdzv::win32
