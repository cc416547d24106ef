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

TEST(Windows1252ToUtf8Test, AsciiStays) {
  EXPECT_EQ(Windows1252ToUtf8("<a>&amp;\r\n"), "<a>&amp;\r\n");
  EXPECT_EQ(Windows1252ToUtf8(std::string_view("a\0b", 3)), std::string("a\0b", 3));
}

TEST(Windows1252ToUtf8Test, LatinOneBytes) {
  EXPECT_EQ(Windows1252ToUtf8("\xE9\xFC\xA0\xFF\xDF"), "\xC3\xA9\xC3\xBC\xC2\xA0\xC3\xBF\xC3\x9F");
}

TEST(Windows1252ToUtf8Test, TheHighRowOfTheCodePage) {
  EXPECT_EQ(Windows1252ToUtf8("\x80\x84\x8A\x9F"), "\xE2\x82\xAC\xE2\x80\x9E\xC5\xA0\xC5\xB8");
}

TEST(Windows1252ToUtf8Test, UndefinedBytesAreC1Controls) {
  EXPECT_EQ(Windows1252ToUtf8("\x81\x8D\x8F\x90\x9D"), "\xC2\x81\xC2\x8D\xC2\x8F\xC2\x90\xC2\x9D");
}

TEST(Windows1252ToUtf8Test, EveryByteGoesThereAndBack) {
  std::string all;
  for (int b = 0; b < 256; ++b) all.push_back(static_cast<char>(b));
  EXPECT_EQ(Utf8ToWindows1252(Windows1252ToUtf8(all)), all);
}

}  // namespace
}  // namespace kdzv
