// The contract of the profile-file port (mapping/profile_file.h) as a
// value-parameterised test suite: every implementation that works on real
// files is instantiated with it, e.g.
//
//   INSTANTIATE_TEST_SUITE_P(PosixProfileFile, ProfileFileConformance,
//                            ::testing::Values(ProfileFileFactory{"Posix", &MakePosix}));
//
// Each test gets a fresh implementation and an empty test::TempDir.
#ifndef KDZV_TESTS_SUPPORT_PROFILE_FILE_CONFORMANCE_H_
#define KDZV_TESTS_SUPPORT_PROFILE_FILE_CONFORMANCE_H_

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <string_view>

#include "mapping/profile_file.h"
#include "support/fakes.h"

namespace kdzv::test {

struct ProfileFileFactory {
  const char* name;
  std::unique_ptr<ProfileFile> (*make)();
};

inline void PrintTo(const ProfileFileFactory& factory, std::ostream* out) {
  *out << factory.name;
}

class ProfileFileConformance : public ::testing::TestWithParam<ProfileFileFactory> {
 protected:
  ProfileFileConformance() : profile(GetParam().make()) {}

  // `name` in the sub-folder `folder` of the test folder, with the
  // platform's separator.
  std::string InFolder(std::string_view folder, std::string_view name) const;

  TempDir dir;
  std::unique_ptr<ProfileFile> profile;
};

}  // namespace kdzv::test

#endif  // KDZV_TESTS_SUPPORT_PROFILE_FILE_CONFORMANCE_H_
