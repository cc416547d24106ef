// The contract of the registry port (settings/registry_backend.h) as a
// value-parameterised test suite, run against the in-memory FakeRegistry of
// the core's tests as well as against the real implementations, so that the
// fake is known to answer as they do. An implementation comes with a
// sandbox: a key below HKEY_CURRENT_USER that the tests may fill and that
// goes away with the sandbox, e.g.
//
//   INSTANTIATE_TEST_SUITE_P(FakeRegistry, RegistryConformance,
//                            ::testing::Values(RegistryFactory{"Fake", &MakeFake}));
#ifndef KDZV_TESTS_SUPPORT_REGISTRY_CONFORMANCE_H_
#define KDZV_TESTS_SUPPORT_REGISTRY_CONFORMANCE_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>

#include "settings/registry_backend.h"

namespace kdzv::test {

// A registry under test and the part of it that a test may use.
class RegistrySandbox {
 public:
  virtual ~RegistrySandbox() = default;
  virtual RegistryBackend& registry() = 0;
  // A key path below HKEY_CURRENT_USER that does not exist yet; everything
  // below it is removed when the sandbox goes away.
  virtual std::string base() const = 0;
};

struct RegistryFactory {
  const char* name;
  std::unique_ptr<RegistrySandbox> (*make)();
};

inline void PrintTo(const RegistryFactory& factory, std::ostream* out) { *out << factory.name; }

class RegistryConformance : public ::testing::TestWithParam<RegistryFactory> {
 protected:
  RegistryConformance()
      : sandbox(GetParam().make()), registry(sandbox->registry()), base(sandbox->base()) {}

  // base + "\" + relative.
  std::string Path(const std::string& relative) const { return base + "\\" + relative; }
  // Creates the key below the base and sets the value; the first failing
  // result, or 0.
  int32_t Set(const std::string& relative, const std::string& name, const std::string& value);
  // The value below the base read with a buffer as long as the key's
  // longest value, or the failing result code as text ("#2").
  std::string Get(const std::string& relative, const std::string& name);
  // Whether the key below the base can be opened.
  bool Exists(const std::string& relative);

  std::unique_ptr<RegistrySandbox> sandbox;
  RegistryBackend& registry;
  const std::string base;
};

}  // namespace kdzv::test

#endif  // KDZV_TESTS_SUPPORT_REGISTRY_CONFORMANCE_H_
