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

namespace kdzv {
namespace {

TEST(TextTest, NameIsAnswersAsEqualsIgnoreCase) {
  EXPECT_TRUE(NameIs("VEvent", "vevent"));
  EXPECT_TRUE(NameIs("DTSTART", "dtstart"));
  EXPECT_FALSE(NameIs("DTStar", "dtstart"));
  EXPECT_FALSE(NameIs("", "a"));
  // Every byte at every place of a name, and a two-byte letter in it.
  const std::string base = "source";
  for (size_t at = 0; at < base.size(); ++at) {
    for (int byte = 0; byte < 256; ++byte) {
      std::string name = base;
      name[at] = static_cast<char>(byte);
      EXPECT_EQ(NameIs(name, "source"), EqualsIgnoreCase(name, "source")) << at << " " << byte;
    }
  }
  EXPECT_FALSE(NameIs("sourc\xC3\xA9", "source"));
  EXPECT_FALSE(NameIs("SOURC\xC3\x89", "sourcee"));
}

TEST(TextTest, EqualsIgnoreCaseFoldsAsciiAndLatin1Letters) {
  EXPECT_TRUE(EqualsIgnoreCase("Attribute", "ATTRIBUTE"));
  EXPECT_TRUE(EqualsIgnoreCase("Änderung", "äNDERUNG"));
  EXPECT_FALSE(EqualsIgnoreCase("Attribute", "Attributes"));
  EXPECT_FALSE(EqualsIgnoreCase("a@", "a`"));  // 0x40 and 0x60 differ only in bit 0x20
  EXPECT_FALSE(EqualsIgnoreCase("[", "{"));
  EXPECT_TRUE(EqualsIgnoreCase("", ""));
}

}  // namespace
}  // namespace kdzv
