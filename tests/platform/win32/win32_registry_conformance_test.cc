// The Windows registry port keeps the contract of the registry port.
#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>

#include "platform/win32/wide_text.h"
#include "platform/win32/win32_registry.h"
#include "support/registry_conformance.h"

namespace kdzv::win32 {
namespace {

using test::RegistryConformance;

// A company key of its own below HKEY_CURRENT_USER\Software for every test,
// removed with everything below it.
class Win32RegistrySandbox : public test::RegistrySandbox {
 public:
  Win32RegistrySandbox() : company_(UniqueCompany()) {}
  ~Win32RegistrySandbox() override {
    ::RegDeleteTreeW(HKEY_CURRENT_USER, Widen("Software\\" + company_).c_str());
  }
  RegistryBackend& registry() override { return registry_; }
  std::string base() const override { return "Software\\" + company_ + "\\Run"; }

 private:
  static std::string UniqueCompany() {
    static std::atomic<unsigned> counter{0};
    return "kdZentavoConformance-" + std::to_string(::GetCurrentProcessId()) + "-" +
           std::to_string(counter++);
  }

  std::string company_;
  Win32Registry registry_;
};

std::unique_ptr<test::RegistrySandbox> MakeWin32Registry() {
  return std::make_unique<Win32RegistrySandbox>();
}

INSTANTIATE_TEST_SUITE_P(Win32Registry, RegistryConformance,
                         ::testing::Values(test::RegistryFactory{"Win32Registry",
                                                                 &MakeWin32Registry}));

}  // namespace
}  // namespace kdzv::win32
