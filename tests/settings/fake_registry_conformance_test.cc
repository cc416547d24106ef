// The in-memory registry of the core's tests answers as the real ones do.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "support/fake_registry.h"
#include "support/registry_conformance.h"

namespace kdzv::test {
namespace {

class FakeRegistrySandbox : public RegistrySandbox {
 public:
  RegistryBackend& registry() override { return registry_; }
  std::string base() const override { return "Software\\kdZentavo Conformance\\Run"; }

 private:
  FakeRegistry registry_;
};

std::unique_ptr<RegistrySandbox> MakeFakeRegistry() {
  return std::make_unique<FakeRegistrySandbox>();
}

INSTANTIATE_TEST_SUITE_P(FakeRegistry, RegistryConformance,
                         ::testing::Values(RegistryFactory{"FakeRegistry", &MakeFakeRegistry}));

}  // namespace
}  // namespace kdzv::test
