#include "message/message_text.h"

#include <gtest/gtest.h>

namespace kdzv {
namespace {

TEST(TransliterateGermanTest, UmlautsBecomePairsWhateverTheirCase) {
  EXPECT_EQ(TransliterateGerman("M\xC3\xBCller, \xC3\x84RZTE"), "Mueller, aeRZTE");
  EXPECT_EQ(TransliterateGerman("\xC3\x96l \xC3\xB6l \xC3\x9C \xC3\xBC \xC3\xA4"), "oel oel ue ue ae");
}

TEST(TransliterateGermanTest, SharpS) { EXPECT_EQ(TransliterateGerman("Stra\xC3\x9F" "e"), "Strasse"); }

TEST(TransliterateGermanTest, OtherLettersStay) {
  // e acute and a capital sharp s are no German letters of the rule.
  EXPECT_EQ(TransliterateGerman("Caf\xC3\xA9 \xE1\xBA\x9E"), "Caf\xC3\xA9 \xE1\xBA\x9E");
}

TEST(TransliterateGermanTest, StrayLeadBytesAndTheTextsEnd) {
  // A lead byte followed by another lead byte: the second one's letter is
  // still replaced; a lead byte at the end stays.
  EXPECT_EQ(TransliterateGerman("\xC3\xC3\xA4x"), "\xC3" "aex");
  EXPECT_EQ(TransliterateGerman("ab\xC3"), "ab\xC3");
  EXPECT_EQ(TransliterateGerman("\xC3\xBC\xC3"), "ue\xC3");
  EXPECT_EQ(TransliterateGerman(""), "");
}

TEST(MessageNamespaceTest, BuiltFromTheHost) {
  EXPECT_EQ(MessageNamespace("www.zentavo.de"),
            "http://www.zentavo.de/WebServices/ZVSync/xml/SyncZV.xsd");
}

TEST(ComposeMessageTextTest, PrologRootWithNamespaceAndFinalLineBreak) {
  XmlElement root("SyncML");
  root.AppendChild(XmlElement("SyncBody"));
  EXPECT_EQ(ComposeMessageText(root, "test.example"),
            "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
            "<SyncML xmlns=\"http://test.example/WebServices/ZVSync/xml/SyncZV.xsd\">"
            "<SyncBody/></SyncML>\r\n");
}

TEST(ComposeMessageTextTest, TransliterationCoversMarkupAndText) {
  XmlElement root("SyncML");
  XmlElement odd("Gr\xC3\xB6\xC3\x9F" "e");
  odd.SetText("\xC3\x84rger");
  root.AppendChild(std::move(odd));
  EXPECT_EQ(ComposeMessageText(root, "h"),
            "<?xml version=\"1.0\" encoding=\"utf-8\"?>"
            "<SyncML xmlns=\"http://h/WebServices/ZVSync/xml/SyncZV.xsd\">"
            "<Groesse>aerger</Groesse></SyncML>\r\n");
}

TEST(ComposeMessageTextTest, TextThatLooksLikeTheRootIsEscapedAndNotReplaced) {
  XmlElement root("SyncML");
  XmlElement comment("Comment");
  comment.SetText("<SyncML>");
  root.AppendChild(std::move(comment));
  const std::string text = ComposeMessageText(root, "h");
  EXPECT_NE(text.find("<Comment>&lt;SyncML&gt;</Comment>"), std::string::npos) << text;
}

}  // namespace
}  // namespace kdzv
