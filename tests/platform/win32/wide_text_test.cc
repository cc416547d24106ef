#include "platform/win32/wide_text.h"

#include <gtest/gtest.h>

namespace kdzv::win32 {
namespace {

TEST(WideTextTest, RoundTripsAsciiUmlautsAndAstralCharacters) {
  EXPECT_EQ(Widen(""), L"");
  EXPECT_EQ(Narrow(L""), "");
  EXPECT_EQ(Widen("Abc"), L"Abc");
  EXPECT_EQ(Widen("\xC3\x84rzte"), L"\u00C4rzte");
  EXPECT_EQ(Narrow(L"\u00C4rzte \u20AC"), "\xC3\x84rzte \xE2\x82\xAC");
  const std::string astral = "x\xF0\x9F\x98\x80y";  // U+1F600
  EXPECT_EQ(Widen(astral), std::wstring(L"x\xD83D\xDE00y"));
  EXPECT_EQ(Narrow(Widen(astral)), astral);
}

TEST(WideTextTest, KeepsEmbeddedNulCharacters) {
  const std::string text("a\0b", 3);
  EXPECT_EQ(Widen(text).size(), 3u);
  EXPECT_EQ(Narrow(Widen(text)), text);
}

TEST(WideTextTest, InvalidUtf8BecomesReplacementCharacter) {
  EXPECT_EQ(Widen("a\xFF" "b"), L"a\uFFFDb");
}

}  // namespace
}  // namespace kdzv::win32
