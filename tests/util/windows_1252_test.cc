#include "util/windows_1252.h"

#include <gtest/gtest.h>

namespace kdzv {
namespace {

TEST(Utf8ToWindows1252Test, AsciiStays) { EXPECT_EQ(Utf8ToWindows1252("<a>&amp;\r\n"), "<a>&amp;\r\n"); }

TEST(Utf8ToWindows1252Test, LatinOneIsOneByte) {
  EXPECT_EQ(Utf8ToWindows1252("\xC3\xA9\xC3\xBC\xC2\xA0\xC3\xBF"), "\xE9\xFC\xA0\xFF");
}

TEST(Utf8ToWindows1252Test, TheHighRowOfTheCodePage) {
  EXPECT_EQ(Utf8ToWindows1252("\xE2\x82\xAC\xE2\x80\x9E\xC5\xA0\xC5\xB8"), "\x80\x84\x8A\x9F");
}

TEST(Utf8ToWindows1252Test, CharactersOutsideBecomeQuestionMarks) {
  EXPECT_EQ(Utf8ToWindows1252("\xC4\x81|\xE4\xB8\xAD|\xF0\x9F\x98\x80"), "?|?|?");
}

TEST(Utf8ToWindows1252Test, MalformedSequencesBecomeQuestionMarks) {
  EXPECT_EQ(Utf8ToWindows1252("a\xC3"), "a?");
  EXPECT_EQ(Utf8ToWindows1252("\xC3(b"), "?(b");
  EXPECT_EQ(Utf8ToWindows1252("\xC0\xAF"), "??");        // overlong
  EXPECT_EQ(Utf8ToWindows1252("\xED\xA0\x80"), "???");   // surrogate
  EXPECT_EQ(Utf8ToWindows1252("\xFF"), "?");
}

}  // namespace
}  // namespace kdzv
