// The file-backed registry of Linux keeps the contract of the registry port.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/posix/file_registry.h"
#include "support/fakes.h"
#include "support/registry_conformance.h"

namespace kdzv::posix {
namespace {

using test::RegistryConformance;

// The three roots in a folder of their own.
class FileRegistrySandbox : public test::RegistrySandbox {
 public:
  FileRegistrySandbox()
      : registry_(dir_.File("classes"), dir_.File("user"), dir_.File("machine")) {}
  RegistryBackend& registry() override { return registry_; }
  std::string base() const override { return "Software\\kdZentavo Conformance\\Run"; }

 private:
  test::TempDir dir_;
  FileRegistry registry_;
};

std::unique_ptr<test::RegistrySandbox> MakeFileRegistry() {
  return std::make_unique<FileRegistrySandbox>();
}

INSTANTIATE_TEST_SUITE_P(FileRegistry, RegistryConformance,
                         ::testing::Values(test::RegistryFactory{"FileRegistry",
                                                                 &MakeFileRegistry}));

}  // namespace
}  // namespace kdzv::posix
