#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace kdzv {
namespace {

// Loaded as a shared object, the component finds the object's own path,
// not the program's.
TEST(ModulePath, SharedObjectKnowsItsOwnPath) {
  void* handle = ::dlopen(KDZV_PROBE_PATH, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(handle, nullptr) << ::dlerror();
  using Probe = const char* (*)();
  auto probe = reinterpret_cast<Probe>(::dlsym(handle, "kdzv_probe_log_file"));
  ASSERT_NE(probe, nullptr);
  const std::filesystem::path expected =
      std::filesystem::canonical(KDZV_PROBE_PATH).replace_extension(".log");
  EXPECT_EQ(std::string(probe()), expected.string());
  ::dlclose(handle);
}

}  // namespace
}  // namespace kdzv
