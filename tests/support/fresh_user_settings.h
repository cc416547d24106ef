// The user's settings of the component put aside for a test (Windows: the
// registry key HKEY_CURRENT_USER\Software\HAL+VEX\Halvex\Zentavo). Plain
// Win32 only: the test host of the automation library shares it.
#ifndef KDZV_TESTS_SUPPORT_FRESH_USER_SETTINGS_H_
#define KDZV_TESTS_SUPPORT_FRESH_USER_SETTINGS_H_

namespace kdzv::test {

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

#endif  // KDZV_TESTS_SUPPORT_FRESH_USER_SETTINGS_H_
