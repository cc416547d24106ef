#include "message/xml_parser.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string>

namespace kdzv {
namespace {

using xml_limits::kMaxDepth;
using xml_limits::kMaxFileBytes;
using xml_limits::kMaxTextBytes;

// The text as UTF-16 code units in the given byte order, without a byte
// order mark.
std::string Utf16(std::string_view ascii, bool big_endian) {
  std::string out;
  for (char c : ascii) {
    if (big_endian) out.push_back('\0');
    out.push_back(c);
    if (!big_endian) out.push_back('\0');
  }
  return out;
}

// ---------------------------------------------------------------------------
// CheckRawMessage

TEST(CheckRawMessageTest, APlainDocumentPasses) {
  EXPECT_TRUE(CheckRawMessage("<?xml version=\"1.0\"?><SyncML><SyncBody/></SyncML>"));
  EXPECT_TRUE(CheckRawMessage(""));
  EXPECT_TRUE(CheckRawMessage("\xFF\xFE" + Utf16("<SyncML/>", false)));
}

TEST(CheckRawMessageTest, ADocumentTypeDeclarationFails) {
  EXPECT_FALSE(CheckRawMessage("<!DOCTYPE SyncML><SyncML/>"));
  EXPECT_FALSE(CheckRawMessage("<?xml version=\"1.0\"?>\n<!DOCTYPE a [\n]>\n<a/>"));
  EXPECT_FALSE(CheckRawMessage("\xEF\xBB\xBF<!DOCTYPE a><a/>"));
  // Anywhere in the bytes, even where a parser would call it an error.
  EXPECT_FALSE(CheckRawMessage("<a><!DOCTYPE b></a>"));
}

TEST(CheckRawMessageTest, ADocumentTypeDeclarationInUtf16Fails) {
  EXPECT_FALSE(CheckRawMessage("\xFF\xFE" + Utf16("<!DOCTYPE a><a/>", false)));
  EXPECT_FALSE(CheckRawMessage("\xFE\xFF" + Utf16("<!DOCTYPE a><a/>", true)));
  // Without a byte order mark and at an odd offset, too.
  EXPECT_FALSE(CheckRawMessage("x" + Utf16("<a/><!DOCTYPE a>", true)));
}

TEST(CheckRawMessageTest, OnlyTheExactKeywordCounts) {
  // Not a declaration (and not well-formed either: the parser refuses it).
  EXPECT_TRUE(CheckRawMessage("<!doctype a><a/>"));
  EXPECT_TRUE(CheckRawMessage("<a>&lt;!DOCTYPE</a>"));
  EXPECT_TRUE(CheckRawMessage("<!DOCTYP"));
}

TEST(CheckRawMessageTest, SizeLimit) {
  std::string bytes(kMaxFileBytes, ' ');
  EXPECT_TRUE(CheckRawMessage(bytes));
  bytes.push_back(' ');
  EXPECT_FALSE(CheckRawMessage(bytes));
}

// ---------------------------------------------------------------------------
// RawMessageCheck, fed in chunks

// Whether `bytes` pass when fed in two chunks split at every place, and
// byte by byte; fails the test when the ways disagree with the whole.
bool PassesInEveryCut(const std::string& bytes) {
  const bool whole = RawMessageCheck().Feed(bytes);
  for (size_t cut = 0; cut <= bytes.size(); ++cut) {
    RawMessageCheck check;
    const bool first = check.Feed(std::string_view(bytes).substr(0, cut));
    const bool second = check.Feed(std::string_view(bytes).substr(cut));
    EXPECT_EQ(first && second, whole) << "cut at " << cut;
  }
  RawMessageCheck single;
  bool bytewise = true;
  for (char c : bytes) bytewise = single.Feed(std::string_view(&c, 1)) && bytewise;
  EXPECT_EQ(bytewise, whole) << "byte by byte";
  return whole;
}

std::string Crowded(size_t attributes) {
  std::string tag = "<a";
  for (size_t i = 0; i < attributes; ++i) tag += " b" + std::to_string(i) + "='=x'";
  return tag + ">";
}

TEST(RawMessageCheckTest, ADocumentTypeDeclarationCutAnywhereFails) {
  EXPECT_FALSE(PassesInEveryCut("<?xml version=\"1.0\"?><!DOCTYPE a><a/>"));
  EXPECT_FALSE(PassesInEveryCut("\xFF\xFE" + Utf16("<!DOCTYPE a><a/>", false)));
  EXPECT_FALSE(PassesInEveryCut("\xFE\xFF" + Utf16("<!DOCTYPE a><a/>", true)));
  EXPECT_FALSE(PassesInEveryCut("x" + Utf16("<a/><!DOCTYPE a>", true)));
  EXPECT_TRUE(PassesInEveryCut("<a>&lt;!DOCTYPE <!doctype></a>"));
}

TEST(RawMessageCheckTest, ACrowdedTagCutAnywhereFails) {
  EXPECT_FALSE(PassesInEveryCut("<?xml version='1.0'?><!-- a > b ' -->" +
                                Crowded(xml_limits::kMaxAttributes + 1)));
  EXPECT_FALSE(PassesInEveryCut(Utf16(Crowded(xml_limits::kMaxAttributes + 1), false)));
  EXPECT_FALSE(PassesInEveryCut(Utf16(Crowded(xml_limits::kMaxAttributes + 1), true)));
  EXPECT_TRUE(PassesInEveryCut("<![CDATA[ ' ]]>" + Crowded(xml_limits::kMaxAttributes)));
  EXPECT_TRUE(PassesInEveryCut(Utf16(Crowded(xml_limits::kMaxAttributes), true)));
  // Hidden in a comment, a CDATA section or an instruction it is not a tag.
  const std::string equals(xml_limits::kMaxAttributes + 1, '=');
  EXPECT_TRUE(PassesInEveryCut("<a><!--" + equals + "--><![CDATA[" + equals + "]]><?p " +
                               equals + "?><!-" + "-->-" + equals + "--></a>"));
  EXPECT_FALSE(PassesInEveryCut("<a><![CDAT " + equals + "></a>" + Crowded(65)));
}

// Single-byte text runs through the check's fast loop; the same text in
// UTF-16 goes character by character through the one state machine. Both
// must come to the same answer, at every cut.
TEST(RawMessageCheckTest, TheFastLoopAgreesWithTheCharacterByCharacterCheck) {
  const std::string equals(xml_limits::kMaxAttributes + 1, '=');
  const std::string exact(xml_limits::kMaxAttributes, '=');
  const struct {
    std::string text;
    bool passes;
  } documents[] = {
      {"<a " + exact + "/>", true},
      {"<a " + equals + "/>", false},
      {"<a x='" + equals + "' y=\"=>\">t</a>", true},
      {"<a x='>' " + equals + ">", false},
      {"<a <b " + exact + ">", true},  // a "<" inside a tag starts another
      {"<a " + exact + " <b " + exact + ">", true},
      {"<a><!--" + equals + "--><![CDATA[" + equals + "]]><?p " + equals + "?></a>", true},
      {"<a><!ELEMENT " + equals + "></a>", true},
      {"<a><![CDAT " + equals + ">" + "<b " + equals + "></a>", false},
      {"<?xml version='1.0'?><a>\r\n<b>x</b> <c/></a>", true},
      {"<>" + equals + "<a " + equals + ">", false},
      {"<", true},
      {"<a '" + equals, true},  // still inside a quote at the end
  };
  for (const auto& document : documents) {
    EXPECT_EQ(PassesInEveryCut(document.text), document.passes) << document.text;
    EXPECT_EQ(RawMessageCheck().Feed("\xFF\xFE" + Utf16(document.text, false)), document.passes)
        << document.text;
  }
}

// Long single-byte chunks are skipped in blocks where nothing but "<" and
// ">" can matter. Documents pieced together at random from markup and runs
// of plain text put every mark at every place of a block; fed whole, they
// must pass exactly when they pass fed byte by byte (which never skips a
// block) and in UTF-16 (which goes character by character).
TEST(RawMessageCheckTest, SkippedBlocksAgreeWithTheCharacterByCharacterCheck) {
  const std::string_view pieces[] = {
      "<a",   ">",    "<",  " ",  "x",         "=",   "==========", "\"", "'", "<!--", "-->",
      "<?",   "?>",   "!",  "?",  "<![CDATA[", "]]>", "<!",         "-",  "]", "/>",   "</a>",
      "abcdefghijklmnopq", "<b c",  "                ", "\r\n"};
  std::mt19937 random(17);
  int refused = 0;
  for (int round = 0; round < 3000; ++round) {
    std::string document;
    const size_t count = 1 + random() % 60;
    for (size_t i = 0; i < count; ++i) document += pieces[random() % std::size(pieces)];
    // Over the limit now and then: a crowded tag somewhere in the middle.
    if (round % 5 == 0) {
      document.insert(random() % (document.size() + 1),
                      "<c" + std::string(xml_limits::kMaxAttributes + round % 3 - 1, '='));
    }
    RawMessageCheck whole;
    const bool passes = whole.Feed(document);
    RawMessageCheck single;
    bool bytewise = true;
    for (char c : document) bytewise = single.Feed(std::string_view(&c, 1)) && bytewise;
    ASSERT_EQ(passes, bytewise) << document;
    ASSERT_EQ(passes, RawMessageCheck().Feed("\xFF\xFE" + Utf16(document, false))) << document;
    if (!passes) ++refused;
  }
  // Both answers occur.
  EXPECT_GT(refused, 50);
  EXPECT_LT(refused, 2900);

  // A "<" at every place of a block, what it opens in the next.
  const std::string equals(xml_limits::kMaxAttributes + 1, '=');
  const struct {
    std::string after_open;
    bool passes;
  } opened[] = {{"!--" + equals + "-->", true},
                {"?p " + equals + "?>", true},
                {"![CDATA[" + equals + "]]>", true},
                {"a " + equals + ">", false},
                {"a>" + equals, true}};
  for (size_t padding = 0; padding < 40; ++padding) {
    for (const auto& case_ : opened) {
      const std::string document = std::string(padding, 'x') + "<" + case_.after_open;
      EXPECT_EQ(RawMessageCheck().Feed(document), case_.passes) << document;
      EXPECT_EQ(RawMessageCheck().Feed("<r>" + document), case_.passes) << document;
    }
  }
  // A "<" inside a tag starts another, whose attributes are counted anew,
  // wherever the two lie in the blocks.
  const std::string exact(xml_limits::kMaxAttributes, '=');
  for (size_t before = 0; before < 32; ++before) {
    for (size_t between = 0; between < 20; ++between) {
      for (const std::string last_mark : {"", " 'v'", " \"v\""}) {
        const std::string two_tags = std::string(before, 'x') + "<a " + exact + last_mark +
                                     std::string(between, ' ') + "<b" + std::string(20, ' ') +
                                     exact + ">";
        EXPECT_TRUE(RawMessageCheck().Feed(two_tags)) << two_tags;
      }
    }
  }
}

// ---------------------------------------------------------------------------
// XmlTreeBuilder

TEST(XmlTreeBuilderTest, BuildsElementsWithTextInDocumentOrder) {
  XmlTreeBuilder builder;
  ASSERT_TRUE(builder.StartElement("a"));
  ASSERT_TRUE(builder.Characters("x"));
  ASSERT_TRUE(builder.StartElement("b"));
  ASSERT_TRUE(builder.Characters("y"));
  ASSERT_TRUE(builder.Characters("y"));
  builder.EndElement();
  ASSERT_TRUE(builder.Characters("z"));
  ASSERT_TRUE(builder.StartElement("C"));
  builder.EndElement();
  builder.EndElement();
  const std::optional<XmlElement> root = builder.Finish();
  ASSERT_TRUE(root);
  EXPECT_EQ(root->Name(), "a");
  EXPECT_EQ(root->OwnText(), "xz");
  ASSERT_EQ(root->Children().size(), 2u);
  EXPECT_EQ(root->Children()[0].Name(), "b");
  EXPECT_EQ(root->Children()[0].OwnText(), "yy");
  EXPECT_EQ(root->Children()[0].TextOffset(), 1u);
  EXPECT_EQ(root->Children()[1].Name(), "C");
  EXPECT_EQ(root->Children()[1].TextOffset(), 2u);
  EXPECT_EQ(root->Text(), "xyyz");
  EXPECT_EQ(SerializeXml(*root), "<a>x<b>yy</b>z<C/></a>");
}

TEST(XmlTreeBuilderTest, NothingBeforeTheDocumentElementIsClosed) {
  XmlTreeBuilder nothing;
  EXPECT_FALSE(nothing.Finish());

  XmlTreeBuilder open;
  ASSERT_TRUE(open.StartElement("a"));
  ASSERT_TRUE(open.StartElement("b"));
  open.EndElement();
  EXPECT_FALSE(open.Finish());
}

TEST(XmlTreeBuilderTest, TextOutsideTheDocumentElementIsIgnored) {
  XmlTreeBuilder builder;
  EXPECT_TRUE(builder.Characters("before"));
  ASSERT_TRUE(builder.StartElement("a"));
  builder.EndElement();
  EXPECT_TRUE(builder.Characters("after"));
  const std::optional<XmlElement> root = builder.Finish();
  ASSERT_TRUE(root);
  EXPECT_EQ(root->OwnText(), "");
}

TEST(XmlTreeBuilderTest, ASecondDocumentElementIsRefused) {
  XmlTreeBuilder builder;
  ASSERT_TRUE(builder.StartElement("a"));
  builder.EndElement();
  EXPECT_FALSE(builder.StartElement("b"));
}

TEST(XmlTreeBuilderTest, AnUnmatchedEndIsHarmless) {
  XmlTreeBuilder builder;
  builder.EndElement();
  ASSERT_TRUE(builder.StartElement("a"));
  builder.EndElement();
  builder.EndElement();
  const std::optional<XmlElement> root = builder.Finish();
  ASSERT_TRUE(root);
  EXPECT_EQ(root->Name(), "a");
}

TEST(XmlTreeBuilderTest, DepthLimit) {
  XmlTreeBuilder builder;
  for (size_t level = 1; level <= kMaxDepth; ++level) {
    ASSERT_TRUE(builder.StartElement("e")) << level;
  }
  EXPECT_FALSE(builder.StartElement("e"));
  // Closing one level makes room for a sibling at the deepest level.
  builder.EndElement();
  EXPECT_TRUE(builder.StartElement("f"));
}

TEST(XmlTreeBuilderTest, TextLimitPerElement) {
  XmlTreeBuilder builder;
  ASSERT_TRUE(builder.StartElement("a"));
  const std::string half(kMaxTextBytes / 2, 'x');
  ASSERT_TRUE(builder.Characters(half));
  // A child's text counts for the child only.
  ASSERT_TRUE(builder.StartElement("b"));
  ASSERT_TRUE(builder.Characters(std::string(kMaxTextBytes, 'y')));
  EXPECT_FALSE(builder.Characters("y"));
  builder.EndElement();
  ASSERT_TRUE(builder.Characters(std::string(kMaxTextBytes - half.size(), 'z')));
  EXPECT_FALSE(builder.Characters("z"));
  EXPECT_TRUE(builder.Characters(""));
}

// ---------------------------------------------------------------------------
// XmlElement::Text over built trees

TEST(XmlElementTextTest, WhiteSpaceOnlyIsEmpty) {
  XmlTreeBuilder builder;
  ASSERT_TRUE(builder.StartElement("a"));
  ASSERT_TRUE(builder.Characters(" \t\r\n"));
  ASSERT_TRUE(builder.StartElement("b"));
  ASSERT_TRUE(builder.Characters("\n"));
  builder.EndElement();
  ASSERT_TRUE(builder.Characters(" "));
  builder.EndElement();
  const std::optional<XmlElement> root = builder.Finish();
  ASSERT_TRUE(root);
  EXPECT_EQ(root->Text(), "");
  EXPECT_EQ(root->Children()[0].Text(), "");
}

TEST(XmlElementTextTest, TrimsTheWholeTextNotEachPiece) {
  XmlTreeBuilder builder;
  ASSERT_TRUE(builder.StartElement("a"));
  ASSERT_TRUE(builder.Characters(" x "));
  ASSERT_TRUE(builder.StartElement("b"));
  ASSERT_TRUE(builder.Characters(" y "));
  builder.EndElement();
  ASSERT_TRUE(builder.Characters(" z\t\n"));
  builder.EndElement();
  const std::optional<XmlElement> root = builder.Finish();
  ASSERT_TRUE(root);
  EXPECT_EQ(root->Text(), "x  y  z");
  EXPECT_EQ(root->Children()[0].Text(), "y");
}

TEST(XmlElementTextTest, OtherSpacesAreKept) {
  XmlTreeBuilder builder;
  ASSERT_TRUE(builder.StartElement("a"));
  // No-break space and a vertical tab are not XML white space.
  ASSERT_TRUE(builder.Characters("\xC2\xA0x\v"));
  builder.EndElement();
  const std::optional<XmlElement> root = builder.Finish();
  ASSERT_TRUE(root);
  EXPECT_EQ(root->Text(), "\xC2\xA0x\v");
}

}  // namespace
}  // namespace kdzv
