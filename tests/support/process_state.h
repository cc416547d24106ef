// What the tests of child processes ask about a process (Linux only).
#ifndef KDZV_TESTS_SUPPORT_PROCESS_STATE_H_
#define KDZV_TESTS_SUPPORT_PROCESS_STATE_H_

#ifndef _WIN32

#include <signal.h>
#include <sys/types.h>

#include <cerrno>
#include <chrono>
#include <fstream>
#include <string>
#include <thread>

namespace kdzv::test {

// Whether `pid` has stopped running within about three seconds: gone, or a
// zombie waiting for its parent.
inline bool NotRunning(pid_t pid) {
  for (int i = 0; i < 300; ++i) {
    if (::kill(pid, 0) != 0 && errno == ESRCH) return true;
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text;
    std::getline(stat, text);
    const size_t paren = text.rfind(')');
    if (paren != std::string::npos && paren + 2 < text.size() && text[paren + 2] == 'Z') {
      return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

}  // namespace kdzv::test

#endif  // _WIN32

#endif  // KDZV_TESTS_SUPPORT_PROCESS_STATE_H_
