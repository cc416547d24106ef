// Byte-exact expected outputs kept as files under tests/data/golden/.
#ifndef KDZV_TESTS_SUPPORT_GOLDEN_H_
#define KDZV_TESTS_SUPPORT_GOLDEN_H_

#include <string>
#include <string_view>

namespace kdzv::test {

// The full path of `relative` below tests/data/.
std::string TestDataPath(std::string_view relative);

// The bytes of tests/data/golden/`relative`. A missing file fails the
// calling test (the content is then empty).
std::string Golden(std::string_view relative);

}  // namespace kdzv::test

#endif  // KDZV_TESTS_SUPPORT_GOLDEN_H_
