#include "util/text.h"

#include <gtest/gtest.h>

#include <string>

namespace kdzv {
namespace {

TEST(TextTest, PlainFileNameParts) {
  for (const char* text : {"", "HX", "Praxis S\xC3\xBC" "d-", "a.b", "..x", "x..", "  "}) {
    EXPECT_TRUE(IsPlainFileNamePart(text)) << text;
  }
  EXPECT_TRUE(IsPlainFileNamePart(std::string(kMaxFileNamePart, 'x')));
}

TEST(TextTest, NamesThatCouldReachElsewhereAreNoPlainParts) {
  for (const char* text : {".", "..", "../x", "..\\x", "a/b", "C:", "x*", "x?", "\"x", "<", ">",
                           "|", "\t", "x\ny", "\x7f"}) {
    EXPECT_FALSE(IsPlainFileNamePart(text)) << text;
  }
  EXPECT_FALSE(IsPlainFileNamePart(std::string(kMaxFileNamePart + 1, 'x')));
}

}  // namespace
}  // namespace kdzv
