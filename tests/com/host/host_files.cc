#include "host_files.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace kdzv::host {

std::string Narrow(const std::wstring& text) {
  const int size = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                         nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<size_t>(size), '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), narrow.data(),
                        size, nullptr, nullptr);
  return narrow;
}

std::wstring Widen(const std::string& text) {
  const int size = ::MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                         nullptr, 0);
  std::wstring wide(static_cast<size_t>(size), L'\0');
  ::MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), wide.data(), size);
  return wide;
}

std::string ReadBytes(const std::wstring& path) {
  std::ifstream in(path.c_str(), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::vector<std::string> FilesIn(const std::wstring& folder) {
  std::vector<std::string> names;
  WIN32_FIND_DATAW found;
  HANDLE search = ::FindFirstFileW((folder + L"\\*").c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return names;
  do {
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
      names.push_back(Narrow(found.cFileName));
    }
  } while (::FindNextFileW(search, &found));
  ::FindClose(search);
  std::sort(names.begin(), names.end());
  return names;
}

void RemoveTree(const std::wstring& folder) {
  WIN32_FIND_DATAW found;
  HANDLE search = ::FindFirstFileW((folder + L"\\*").c_str(), &found);
  if (search != INVALID_HANDLE_VALUE) {
    do {
      const std::wstring name = found.cFileName;
      if (name == L"." || name == L"..") continue;
      const std::wstring path = folder + L"\\" + name;
      if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        RemoveTree(path);
      } else {
        ::DeleteFileW(path.c_str());
      }
    } while (::FindNextFileW(search, &found));
    ::FindClose(search);
  }
  ::RemoveDirectoryW(folder.c_str());
}

HANDLE StartWithOutput(std::wstring command, const std::wstring& output) {
  SECURITY_ATTRIBUTES inherit = {sizeof(inherit), nullptr, TRUE};
  HANDLE out = ::CreateFileW(output.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherit,
                             CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (out == INVALID_HANDLE_VALUE) return nullptr;
  HANDLE nothing = ::CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                 &inherit, OPEN_EXISTING, 0, nullptr);
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = out;
  startup.hStdError = out;
  startup.hStdInput = nothing == INVALID_HANDLE_VALUE ? nullptr : nothing;
  PROCESS_INFORMATION started = {};
  const BOOL ok = ::CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                   nullptr, &startup, &started);
  ::CloseHandle(out);
  if (nothing != INVALID_HANDLE_VALUE) ::CloseHandle(nothing);
  if (!ok) return nullptr;
  ::CloseHandle(started.hThread);
  return started.hProcess;
}

}  // namespace kdzv::host
