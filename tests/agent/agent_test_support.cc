#include "agent/agent_test_support.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#endif

namespace kdzv::test {

std::string ComponentMessage(const std::string& session, const std::string& msg_id,
                             const std::string& body) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?><SyncML "
         "xmlns=\"http://www.zentavo.de/WebServices/ZVSync/xml/SyncZV.xsd\"><SyncHdr>"
         "<VerDTD>1.0</VerDTD><VerProto>SyncZV/1.0</VerProto><SessionID>" +
         session + "</SessionID><MsgID>" + msg_id +
         "</MsgID><Source><LocName>Halvex</LocName><LocURI/></Source><Target><LocName>Zentavo"
         "</LocName><LocURI/></Target></SyncHdr><SyncBody>" +
         body + "</SyncBody></SyncML>\r\n";
}

namespace {

template <typename Condition>
bool WaitUntil(Condition condition, int timeout_ms) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

}  // namespace

bool WaitForBytes(const std::string& path, int timeout_ms) {
  return WaitUntil(
      [&] {
        std::error_code error;
        return std::filesystem::file_size(path, error) > 0 && !error;
      },
      timeout_ms);
}

bool WaitForNoFile(const std::string& path, int timeout_ms) {
  return WaitUntil([&] { return !std::filesystem::exists(path); }, timeout_ms);
}

bool LockedByWriter(const std::string& path) {
#ifdef _WIN32
  HANDLE file = ::CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return ::GetLastError() == ERROR_SHARING_VIOLATION;
  ::CloseHandle(file);
  return false;
#else
  const int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
  if (fd < 0) return false;
  const bool locked = ::flock(fd, LOCK_EX | LOCK_NB) != 0;
  ::close(fd);
  return locked;
#endif
}

#ifdef _WIN32
namespace {
constexpr wchar_t kSettingsKey[] = L"Software\\HAL+VEX\\Halvex\\Zentavo";
}  // namespace

struct FreshUserSettings::Saved {
  struct Value {
    std::wstring name;
    DWORD type;
    std::vector<BYTE> data;
  };
  std::vector<Value> values;
};

FreshUserSettings::FreshUserSettings() : saved_(new Saved) {
  HKEY key = nullptr;
  if (::RegOpenKeyExW(HKEY_CURRENT_USER, kSettingsKey, 0, KEY_READ, &key) == ERROR_SUCCESS) {
    for (DWORD i = 0;; ++i) {
      wchar_t name[256];
      DWORD name_length = 256;
      DWORD type = 0;
      BYTE data[8192];
      DWORD size = sizeof(data);
      if (::RegEnumValueW(key, i, name, &name_length, nullptr, &type, data, &size) !=
          ERROR_SUCCESS) {
        break;
      }
      saved_->values.push_back(
          {std::wstring(name, name_length), type, std::vector<BYTE>(data, data + size)});
    }
    ::RegCloseKey(key);
  }
  ::RegDeleteTreeW(HKEY_CURRENT_USER, kSettingsKey);
}

FreshUserSettings::~FreshUserSettings() {
  ::RegDeleteTreeW(HKEY_CURRENT_USER, kSettingsKey);
  if (!saved_->values.empty()) {
    HKEY key = nullptr;
    if (::RegCreateKeyExW(HKEY_CURRENT_USER, kSettingsKey, 0, nullptr, 0, KEY_WRITE, nullptr,
                          &key, nullptr) == ERROR_SUCCESS) {
      for (const Saved::Value& value : saved_->values) {
        ::RegSetValueExW(key, value.name.c_str(), 0, value.type, value.data.data(),
                         static_cast<DWORD>(value.data.size()));
      }
      ::RegCloseKey(key);
    }
  }
  delete saved_;
}
#else
FreshUserSettings::FreshUserSettings() = default;
FreshUserSettings::~FreshUserSettings() = default;
#endif

}  // namespace kdzv::test
