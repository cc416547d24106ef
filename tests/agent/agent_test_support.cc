#include "agent/agent_test_support.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#ifdef _WIN32
#include <windows.h>

#include "platform/win32/wide_text.h"
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
void* StartProgram(const std::string& command_line, const std::string& output_file) {
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  HANDLE out = ::CreateFileW(win32::Widen(output_file).c_str(), GENERIC_WRITE,
                             FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit, CREATE_ALWAYS,
                             FILE_ATTRIBUTE_NORMAL, nullptr);
  HANDLE in = ::CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit,
                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = in;
  startup.hStdOutput = out;
  startup.hStdError = out;
  PROCESS_INFORMATION started{};
  std::wstring command = win32::Widen(command_line);
  const BOOL created = ::CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0,
                                        nullptr, nullptr, &startup, &started);
  if (in != INVALID_HANDLE_VALUE) ::CloseHandle(in);
  if (out != INVALID_HANDLE_VALUE) ::CloseHandle(out);
  if (!created) return nullptr;
  ::CloseHandle(started.hThread);
  return started.hProcess;
}

#endif

}  // namespace kdzv::test
