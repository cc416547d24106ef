#include "platform/win32/win32_profile_file.h"

#include <windows.h>

#include <vector>

#include "platform/win32/wide_text.h"
#include "platform/win32/win32_error.h"
#include "util/error.h"

namespace kdzv::win32 {
namespace {

// The full path of `file`: the profile functions look for a bare or
// relative name in the Windows folder, never in the current one.
std::wstring FullPath(std::string_view file) {
  const std::wstring wide = Widen(file);
  const DWORD needed = ::GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr);
  if (needed == 0) return wide;
  std::vector<wchar_t> buffer(needed);
  const DWORD length = ::GetFullPathNameW(wide.c_str(), needed, buffer.data(), nullptr);
  if (length == 0 || length >= needed) return wide;
  return std::wstring(buffer.data(), length);
}

}  // namespace

std::string Win32ProfileFile::GetString(std::string_view section, std::string_view key,
                                        std::string_view default_value, size_t buffer_size,
                                        std::string_view file) {
  if (buffer_size == 0) return {};
  if (buffer_size > MAXDWORD) RaiseStandard(err::kOutOfMemory, "GetString");
  std::vector<wchar_t> buffer(buffer_size, L'\0');
  const DWORD length = ::GetPrivateProfileStringW(
      Widen(section).c_str(), Widen(key).c_str(), Widen(default_value).c_str(), buffer.data(),
      static_cast<DWORD>(buffer_size), FullPath(file).c_str());
  return Narrow(std::wstring_view(buffer.data(), length));
}

void Win32ProfileFile::WriteString(std::string_view section, std::string_view key,
                                   std::string_view value, std::string_view file) {
  if (!::WritePrivateProfileStringW(Widen(section).c_str(), Widen(key).c_str(),
                                    Widen(value).c_str(), FullPath(file).c_str())) {
    const DWORD error = ::GetLastError();
    RaiseFileError(error, "WriteString");
  }
}

void Win32ProfileFile::Flush(std::string_view file) {
  ::WritePrivateProfileStringW(nullptr, nullptr, nullptr, FullPath(file).c_str());
}

}  // namespace kdzv::win32
