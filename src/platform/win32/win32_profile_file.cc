#include "platform/win32/win32_profile_file.h"

#include <windows.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "platform/win32/shared_access.h"
#include "platform/win32/unique_handle.h"
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

// Creates `path` empty, unless something is there already, with the
// permissions that let every user change it. Another process may create it
// meanwhile, or its folder may be missing: the write that follows reports
// what matters.
void CreateShared(const std::wstring& path) {
  if (::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES) return;
  SharedSecurity shared = SharedSecurity::ForFiles();
  UniqueHandle file(::CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                  shared.Attributes(), CREATE_NEW, FILE_ATTRIBUTE_NORMAL,
                                  nullptr));
}

// Owns the mutex while this process holds it.
class MutexLock : public ProfileFileLock {
 public:
  explicit MutexLock(UniqueHandle mutex) : mutex_(std::move(mutex)) {}
  ~MutexLock() override { ::ReleaseMutex(mutex_.get()); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  UniqueHandle mutex_;
};

// The named mutex `name` with the shared permissions, made or opened with
// only the rights to wait on it and release it (all that the permissions
// give a user who did not make it).
UniqueHandle MakeMutex(const std::wstring& name) {
  SharedSecurity shared = SharedSecurity::ForMutexes();
  return UniqueHandle(
      ::CreateMutexExW(shared.Attributes(), name.c_str(), 0, SharedSecurity::kMutexUse));
}

}  // namespace

std::wstring Win32ProfileFile::LockName(std::string_view file) {
  std::wstring path = FullPath(file);
  if (!path.empty()) ::CharUpperBuffW(path.data(), static_cast<DWORD>(path.size()));
  // FNV-1a, 64 bits, over the UTF-16 units.
  uint64_t hash = 14695981039346656037ull;
  for (wchar_t unit : path) {
    hash ^= static_cast<uint16_t>(unit);
    hash *= 1099511628211ull;
  }
  wchar_t digits[17] = {};
  for (int i = 15; i >= 0; --i, hash >>= 4) digits[i] = L"0123456789ABCDEF"[hash & 0xF];
  return std::wstring(L"kdZentavo.Profile.") + digits;
}

std::unique_ptr<ProfileFileLock> Win32ProfileFile::Lock(std::string_view file) {
  const std::wstring name = LockName(file);
  UniqueHandle mutex = MakeMutex(L"Global\\" + name);
  if (!mutex.valid() && ::GetLastError() == ERROR_ACCESS_DENIED) {
    mutex = MakeMutex(L"Local\\" + name);
  }
  if (!mutex.valid()) RaiseFileError(::GetLastError(), "Lock");
  switch (::WaitForSingleObject(mutex.get(), kLockTimeoutMs)) {
    case WAIT_OBJECT_0:
    case WAIT_ABANDONED:  // its holder ended without giving it back
      return std::make_unique<MutexLock>(std::move(mutex));
    case WAIT_TIMEOUT:
      RaiseFileError(ERROR_LOCK_VIOLATION, "Lock");
    default:
      RaiseFileError(::GetLastError(), "Lock");
  }
}

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
  const std::wstring path = FullPath(file);
  CreateShared(path);
  if (!::WritePrivateProfileStringW(Widen(section).c_str(), Widen(key).c_str(),
                                    Widen(value).c_str(), path.c_str())) {
    const DWORD error = ::GetLastError();
    RaiseFileError(error, "WriteString");
  }
}

void Win32ProfileFile::Flush(std::string_view file) {
  ::WritePrivateProfileStringW(nullptr, nullptr, nullptr, FullPath(file).c_str());
}

}  // namespace kdzv::win32
