#include "platform/win32/wide_text.h"

#include <windows.h>

#include <gtest/gtest.h>

#include "util/error.h"

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

// Umlauts, sharp s and e acute are in Windows-1252; L with stroke, o with
// double acute and z with acute are not.
constexpr char kMixed[] =
    "\xC3\x84rzte, M\xC3\xBCller, Stra\xC3\x9F" "e, caf\xC3\xA9, "
    "\xC5\x81\xC3\xB3" "d\xC5\xBA, Erd\xC5\x91s";

TEST(WideTextTest, ToCodePage1252WritesWhatItHoldsAndQuestionMarksTheRest) {
  EXPECT_EQ(ToCodePage(kMixed, 1252, "Test"),
            "\xC4rzte, M\xFCller, Stra\xDF" "e, caf\xE9, ?\xF3" "d?, Erd?s");
  EXPECT_EQ(ToCodePage("", 1252, "Test"), "");
}

// A system whose ANSI code page is UTF-8 writes every character as it is.
TEST(WideTextTest, ToCodePage65001KeepsEveryCharacter) {
  EXPECT_EQ(ToCodePage(kMixed, 65001, "Test"), kMixed);
  const std::string astral = "x\xF0\x9F\x98\x80y";  // U+1F600
  EXPECT_EQ(ToCodePage(astral, 65001, "Test"), astral);
  EXPECT_EQ(ToCodePage("", 65001, "Test"), "");
}

// What Windows accepts for each (Wine accepts anything, so the conversions
// above would pass there with flags that Windows refuses for UTF-8).
TEST(WideTextTest, UTF8IsConvertedWithoutFlagsAndWithoutADefaultCharacter) {
  const CodePageConversion utf8 = ConversionFor(65001);
  EXPECT_EQ(utf8.flags, 0u);
  EXPECT_EQ(utf8.default_char, nullptr);
  const CodePageConversion western = ConversionFor(1252);
  EXPECT_EQ(western.flags, static_cast<unsigned long>(WC_NO_BEST_FIT_CHARS));
  ASSERT_NE(western.default_char, nullptr);
  EXPECT_STREQ(western.default_char, "?");
  EXPECT_EQ(ConversionFor(1250).flags, static_cast<unsigned long>(WC_NO_BEST_FIT_CHARS));
  EXPECT_EQ(ConversionFor(54936).default_char, nullptr);
  EXPECT_EQ(ConversionFor(50220).flags, 0u);
  EXPECT_EQ(ConversionFor(57004).flags, 0u);
}

TEST(WideTextTest, ToCodePageRaisesForACodePageTheSystemDoesNotKnow) {
  try {
    ToCodePage("abc", 12345, "ToCodePageTest");
    ADD_FAILURE() << "no error raised";
  } catch (const Error& error) {
    EXPECT_EQ(error.info().source, "ToCodePageTest");
  }
}

}  // namespace
}  // namespace kdzv::win32
