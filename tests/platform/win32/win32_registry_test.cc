#include "platform/win32/win32_registry.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <string>

#include "platform/win32/wide_text.h"
#include "settings/registry_tools.h"
#include "util/error.h"

namespace kdzv::win32 {
namespace {

constexpr RegistryRoot kUser = RegistryRoot::kCurrentUser;
constexpr RegistryRoot kMachine = RegistryRoot::kLocalMachine;

// A company key of its own for every run, removed with all below it.
class Win32RegistryTest : public ::testing::Test {
 protected:
  Win32RegistryTest()
      : company("kdZentavoTest-" + std::to_string(::GetCurrentProcessId())),
        base("Software\\" + company + "\\Product") {}
  ~Win32RegistryTest() override {
    ::RegDeleteTreeW(HKEY_CURRENT_USER, Widen("Software\\" + company).c_str());
  }

  std::string company;
  std::string base;
  Win32Registry registry;
};

TEST_F(Win32RegistryTest, ClosedKeysAreLetGo) {
  RegistryBackend::Handle key = 0;
  ASSERT_EQ(registry.CreateKey(kUser, base + "\\Section", reg::kKeyWrite, &key), 0);
  RegistryBackend::Handle again = 0;
  ASSERT_EQ(registry.OpenKey(kUser, base + "\\SECTION", reg::kKeyRead, &again), 0);
  EXPECT_EQ(registry.OpenHandleCount(), 2u);
  EXPECT_EQ(registry.CloseKey(key), 0);
  EXPECT_EQ(registry.CloseKey(again), 0);
  EXPECT_EQ(registry.OpenHandleCount(), 0u);
}

// The parents created on the way stay when the key goes, as with the fake;
// the file registry of Linux lets them go with their last sub-key.
TEST_F(Win32RegistryTest, ParentsMadeOnTheWayStayAfterTheKey) {
  RegistryBackend::Handle key = 0;
  ASSERT_EQ(registry.CreateKey(kUser, base + "\\A\\B", reg::kKeyWrite, &key), 0);
  EXPECT_EQ(registry.CloseKey(key), 0);
  EXPECT_EQ(registry.DeleteKey(kUser, base + "\\A"), reg::kAccessDenied);
  EXPECT_EQ(registry.DeleteKey(kUser, base + "\\A\\B"), 0);
  EXPECT_EQ(registry.DeleteKey(kUser, base + "\\A"), 0);
  EXPECT_EQ(registry.OpenKey(kUser, base + "\\A", reg::kKeyRead, &key), reg::kFileNotFound);
}

TEST_F(Win32RegistryTest, ValuesOfOtherTypesAreRefused) {
  RegistryBackend::Handle key = 0;
  ASSERT_EQ(registry.CreateKey(kUser, base + "\\Typed", reg::kKeyWrite | reg::kKeyRead, &key),
            0);
  HKEY raw = nullptr;
  const std::wstring path = Widen(base);
  ASSERT_EQ(::RegOpenKeyExW(HKEY_CURRENT_USER, (path + L"\\Typed").c_str(), 0, KEY_WRITE, &raw),
            ERROR_SUCCESS);
  const DWORD number = 42;
  ASSERT_EQ(::RegSetValueExW(raw, L"Number", 0, REG_DWORD,
                             reinterpret_cast<const BYTE*>(&number), sizeof number),
            ERROR_SUCCESS);
  // A string stored without its terminating zero reads the same.
  const wchar_t bare[] = {L'a', L'b'};
  ASSERT_EQ(::RegSetValueExW(raw, L"Bare", 0, REG_SZ, reinterpret_cast<const BYTE*>(bare),
                             sizeof bare),
            ERROR_SUCCESS);
  ::RegCloseKey(raw);
  std::string value;
  EXPECT_EQ(registry.QueryValue(key, "Number", 100, &value), 1630);
  EXPECT_EQ(registry.QueryValue(key, "Bare", 100, &value), 0);
  EXPECT_EQ(value, "ab");
  EXPECT_EQ(registry.CloseKey(key), 0);
}

TEST_F(Win32RegistryTest, SettingsStoreRoundTripUnderTheUserRoot) {
  clsRegistryTools tools(registry);
  tools.SetMyCompanyName(company);
  tools.SetMyProductName("Product");
  tools.LocalSaveSetting("Zentavo", "DownloadPath", "C:\\Zentavo\\Download");
  EXPECT_EQ(tools.LocalGetSetting("Zentavo", "DownloadPath"), "C:\\Zentavo\\Download");
  EXPECT_EQ(tools.LocalGetSetting("Fresh", "Missing", std::string("dflt")), "dflt");
  RegistryBackend::Handle key = 0;
  ASSERT_EQ(registry.OpenKey(kUser, base + "\\Fresh", reg::kKeyRead, &key), 0);
  EXPECT_EQ(registry.CloseKey(key), 0);
  try {
    tools.LocalGetSetting("Fresh", "Missing");
    ADD_FAILURE() << "no error";
  } catch (const Error& e) {
    EXPECT_EQ(e.description(), "Key not found and no default specified (2)");
    EXPECT_EQ(e.source(), "MyGetSetting");
  }
  EXPECT_EQ(registry.OpenHandleCount(), 0u);
}

TEST_F(Win32RegistryTest, MachineProbeAnswersWithoutErrorAndLeavesNoProbeKey) {
  clsRegistryTools tools(registry);
  tools.SetMyCompanyName(company);
  tools.SetMyProductName("Product");
  bool answer = false;
  EXPECT_NO_THROW(answer = tools.CanOpenGlobalRegKey());
  RegistryBackend::Handle key = 0;
  EXPECT_EQ(registry.OpenKey(kMachine, base + "\\__DUMMMY__", reg::kKeyRead, &key),
            reg::kFileNotFound);
  if (answer) {
    // The probe left the (empty) company and product keys: remove them.
    EXPECT_EQ(registry.DeleteKey(kMachine, base), 0);
    EXPECT_EQ(registry.DeleteKey(kMachine, "Software\\" + company), 0);
  }
  EXPECT_EQ(registry.OpenHandleCount(), 0u);
}

}  // namespace
}  // namespace kdzv::win32
