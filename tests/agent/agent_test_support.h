// Helpers for the tests in which a test plays the component against a
// running agent: folders, messages as the component writes them, waits.
#ifndef KDZV_TESTS_AGENT_AGENT_TEST_SUPPORT_H_
#define KDZV_TESTS_AGENT_AGENT_TEST_SUPPORT_H_

#include <string>

namespace kdzv::test {

// A component message as the component writes it: one line ending CR LF.
std::string ComponentMessage(const std::string& session, const std::string& msg_id,
                             const std::string& body);

// Waits up to `timeout_ms` for `path` to exist and hold at least one byte.
bool WaitForBytes(const std::string& path, int timeout_ms = 5000);

// Waits up to `timeout_ms` for `path` to be gone.
bool WaitForNoFile(const std::string& path, int timeout_ms = 5000);

// Whether another process or thread holds the writer's lock on `path`: on
// Linux an exclusive flock() cannot be had, on Windows the file cannot be
// opened at all.
bool LockedByWriter(const std::string& path);

// For the length of a test, the user's settings are those of a fresh user
// (nothing stored), as the Linux tests have them through their own
// settings folder. On Windows zvsync reads the registry of the user, which
// other tests (and a developer) may have changed: the key is saved, emptied
// and put back afterwards. On Linux it does nothing.
class FreshUserSettings {
 public:
  FreshUserSettings();
  ~FreshUserSettings();
  FreshUserSettings(const FreshUserSettings&) = delete;
  FreshUserSettings& operator=(const FreshUserSettings&) = delete;

 private:
  struct Saved;
  Saved* saved_ = nullptr;
};

}  // namespace kdzv::test

#endif  // KDZV_TESTS_AGENT_AGENT_TEST_SUPPORT_H_
