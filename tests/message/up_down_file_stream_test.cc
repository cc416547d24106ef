// Reading answer files as a stream, a chunk at a time: what must come out
// the same whatever falls on the border between two chunks, the reports
// that wait until the file is known to be whole, the header wherever it
// stands, every encoding, and the size limit.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "message/up_down_file.h"
#include "message/xml_parser.h"
#include "platform/platform.h"
#include "support/fakes.h"

namespace kdzv {
namespace {

class UpDownFileStreamTest : public ::testing::Test {
 protected:
  UpDownFileStreamTest() : file(System().xml_parser, System().file_system, "www.zentavo.de") {
    process.ActivateLog();
  }

  bool Analyze(const std::string& bytes) {
    path = dir.File("HX17_2.xml");
    test::WriteFileBytes(path, bytes);
    process.log.lines.clear();
    process.ui.boxes.clear();
    return file.AnalyzeDownFile(path);
  }

  static std::string Add(const std::string& vevent) {
    return "<Add><CmdID>1</CmdID><VEvent><Source>ZV-1</Source>" + vevent + "</VEvent></Add>";
  }

  static std::string Message(const std::string& body) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?><SyncML><SyncHdr><MsgID>2</MsgID></SyncHdr>"
           "<SyncBody>" +
           body + "</SyncBody></SyncML>";
  }

  std::string LoadFailure() const {
    return "(AnalyzeOrderFile) --> Achtung: Fehler beim Lesen der Datei: " + path;
  }

  std::string FirstComment() {
    return file.AddTerminCol().Count() > 0 ? file.AddTerminCol().Item(1)->Termin->Comment
                                           : "<none>";
  }

  test::ScopedProcess process;
  test::TempDir dir;
  std::string path;
  clZVUpDownFile file;
};

std::string Repeat(const std::string& piece, size_t times) {
  std::string out;
  out.reserve(piece.size() * times);
  for (size_t i = 0; i < times; ++i) out += piece;
  return out;
}

// Text far longer than a chunk, so that chunk borders fall inside it.
constexpr size_t kManyChunks = 3 * 64 * 1024;

TEST_F(UpDownFileStreamTest, AReportInTheFirstCommandOfAFileBrokenInItsThirdIsNeverShown) {
  const std::string whole =
      Message(Add("<Unbekannt/>") + Add("<Comment>" + std::string(kManyChunks, 'x') + "</Comment>") +
              Add("<Comment>drei</Comment>"));
  const std::string broken = whole.substr(0, whole.find("drei") + 2);
  EXPECT_FALSE(Analyze(broken));
  EXPECT_EQ(process.log.lines, std::vector<std::string>{LoadFailure()});
  EXPECT_TRUE(process.ui.boxes.empty());
  EXPECT_EQ(file.AddTerminCol().Count(), 0);

  // Whole, the same file reports the unknown element once it is read.
  EXPECT_TRUE(Analyze(whole));
  EXPECT_EQ(process.log.lines,
            std::vector<std::string>{"Unbekannter Knoten (VEvent): vevent>unbekannt"});
  EXPECT_EQ(process.ui.boxes.size(), 1u);
  EXPECT_EQ(file.AddTerminCol().Count(), 3);
}

TEST_F(UpDownFileStreamTest, AttributesOfABrokenFileAreNotKept) {
  const std::string attribute =
      "<Add><CmdID>1</CmdID><Attribute><Source>A</Source><Target>B</Target>"
      "<Value><Source>V</Source><Target>W</Target></Value></Attribute></Add>";
  ASSERT_TRUE(Analyze(Message(attribute)));
  ASSERT_EQ(file.AddAttributesCol().Count(), 1);
  const std::string whole = Message(attribute + Add(std::string(kManyChunks, ' ')) + Add(""));
  EXPECT_FALSE(Analyze(whole.substr(0, whole.size() - 30)));
  EXPECT_EQ(file.AddAttributesCol().Count(), 1);
}

TEST_F(UpDownFileStreamTest, CharactersCutByAChunkBorderAreWhole) {
  // Two, three and four bytes in UTF-8; every shift puts some chunk border
  // inside a character.
  const std::string text = Repeat("\xC3\xA4\xE2\x82\xAC\xF0\x9D\x84\x9E", kManyChunks / 9);
  for (size_t shift = 0; shift < 4; ++shift) {
    ASSERT_TRUE(Analyze(Message(std::string(shift, ' ') + Add("<Comment>" + text + "</Comment>"))))
        << shift;
    EXPECT_EQ(FirstComment(), text) << shift;
    EXPECT_TRUE(process.log.lines.empty());
  }
}

TEST_F(UpDownFileStreamTest, CdataCutByAChunkBorderIsWhole) {
  const std::string text = Repeat("<\xE2\x82\xAC> ]] &amp; ", kManyChunks / 16);
  for (size_t shift = 0; shift < 4; ++shift) {
    ASSERT_TRUE(Analyze(Message(std::string(shift, ' ') +
                                Add("<Comment>a<![CDATA[" + text + "]]>b</Comment>"))))
        << shift;
    EXPECT_EQ(FirstComment(), "a" + text + "b") << shift;
  }
}

TEST_F(UpDownFileStreamTest, TheTextLimitCountsAcrossChunks) {
  constexpr size_t kLimit = xml_limits::kMaxTextBytes;
  // Text, a character reference and a CDATA section, over many chunks.
  const std::string most(kLimit - 2 - 4, 'x');
  const std::string at_limit =
      "<Comment>" + most.substr(0, kLimit / 2) + "&#228;<![CDATA[" + most.substr(kLimit / 2) +
      "]]>yyyy</Comment>";
  EXPECT_TRUE(Analyze(Message(Add("<Neu/>" + at_limit))));
  EXPECT_EQ(FirstComment().size(), kLimit);

  const std::string over =
      "<Comment>" + most.substr(0, kLimit / 2) + "&#228;<![CDATA[" + most.substr(kLimit / 2) +
      "]]>yyyyy</Comment>";
  EXPECT_FALSE(Analyze(Message(Add("<Neu/>" + over))));
  EXPECT_EQ(process.log.lines, std::vector<std::string>{LoadFailure()});
  EXPECT_TRUE(process.ui.boxes.empty());
}

TEST_F(UpDownFileStreamTest, AHeaderAfterTheBodyAndASecondHeaderAreRead) {
  ASSERT_TRUE(Analyze(
      "<SyncML><SyncBody>" + Add("<Comment>eins</Comment>") +
      "</SyncBody><SyncHdr><MsgID>5</MsgID><SessionID>17</SessionID></SyncHdr>"
      "<SyncHdr><MsgID>6</MsgID><Neu/></SyncHdr><SyncBody>" +
      Add("<Comment>zwei</Comment>") + "</SyncBody></SyncML>"));
  EXPECT_EQ(file.SyncHdr().MsgID, 6);
  EXPECT_EQ(file.SyncHdr().SessionID, "17");
  ASSERT_EQ(file.AddTerminCol().Count(), 2);
  EXPECT_EQ(file.AddTerminCol().Item(1)->Termin->Comment, "eins");
  EXPECT_EQ(file.AddTerminCol().Item(2)->Termin->Comment, "zwei");
  EXPECT_EQ(process.log.lines, std::vector<std::string>{"Unbekannter Knoten: synchdr>neu"});
}

// UTF-16 code units of the UTF-8 text `utf8` (characters of the BMP and
// beyond), in the given byte order, after a byte order mark.
std::string Utf16(const std::string& utf8, bool big_endian) {
  std::string out;
  const auto unit = [&](uint32_t u) {
    const char high = static_cast<char>(u >> 8), low = static_cast<char>(u & 0xFF);
    out += big_endian ? std::string{high, low} : std::string{low, high};
  };
  unit(0xFEFF);
  for (size_t i = 0; i < utf8.size();) {
    const auto byte = static_cast<unsigned char>(utf8[i]);
    const size_t length = byte < 0x80 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
    uint32_t c = length == 1 ? byte : byte & (0xFF >> (length + 1));
    for (size_t k = 1; k < length; ++k) c = (c << 6) | (utf8[i + k] & 0x3F);
    i += length;
    if (c >= 0x10000) {
      unit(0xD800 + ((c - 0x10000) >> 10));
      unit(0xDC00 + ((c - 0x10000) & 0x3FF));
    } else {
      unit(c);
    }
  }
  return out;
}

TEST_F(UpDownFileStreamTest, EveryEncodingReadsTheSameOverManyChunks) {
  // "Müller-Straße" in UTF-8 and in the single-byte code pages.
  const std::string utf8_text = Repeat("M\xC3\xBCller-Stra\xC3\x9F" "e,\xE2\x82\xAC;", 15000);
  const std::string latin_text = Repeat("M\xFCller-Stra\xDF" "e;", 15000);
  const std::string cp1252_text = Repeat("M\xFCller-Stra\xDF" "e,\x80;", 15000);
  const std::string latin_as_utf8 = Repeat("M\xC3\xBCller-Stra\xC3\x9F" "e;", 15000);
  const auto document = [](const std::string& declaration, const std::string& text) {
    return declaration + "<SyncML><SyncBody>" + Add("<Comment>" + text + "</Comment>") +
           "</SyncBody></SyncML>";
  };
  struct Case {
    const char* name;
    std::string bytes;
    std::string comment;
  };
  const std::vector<Case> cases = {
      {"utf-8 declared", document("<?xml version=\"1.0\" encoding=\"UTF-8\"?>", utf8_text),
       utf8_text},
      {"utf-8 undeclared", document("", utf8_text), utf8_text},
      {"utf-8 with a byte order mark",
       "\xEF\xBB\xBF" + document("<?xml version=\"1.0\" encoding=\"utf-8\"?>", utf8_text),
       utf8_text},
      {"iso-8859-1", document("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>", latin_text),
       latin_as_utf8},
      {"windows-1252",
       document("<?xml version=\"1.0\" encoding=\"windows-1252\"?>", cp1252_text), utf8_text},
      {"utf-16 little-endian",
       Utf16(document("<?xml version=\"1.0\" encoding=\"UTF-16\"?>", utf8_text), false),
       utf8_text},
      {"utf-16 big-endian",
       Utf16(document("<?xml version=\"1.0\" encoding=\"UTF-16\"?>", utf8_text), true),
       utf8_text},
  };
  for (const Case& c : cases) {
    ASSERT_TRUE(Analyze(c.bytes)) << c.name;
    EXPECT_EQ(FirstComment(), c.comment) << c.name;
    EXPECT_TRUE(process.log.lines.empty()) << c.name;
  }
}

TEST_F(UpDownFileStreamTest, ManyDifferentReportsAreShownInTheirOrder) {
  // More reports than are held while the file is read: it is read again.
  std::string body;
  const size_t count = clZVUpDownFile::kMaxHeldReportBytes / 40 + 1000;
  for (size_t i = 0; i < count; ++i) body += "<N" + std::to_string(i) + "/>";
  ASSERT_TRUE(Analyze(Message(body + Add("<Comment>x</Comment>"))));
  ASSERT_EQ(process.log.lines.size(), count);
  EXPECT_EQ(process.log.lines.front(), "Unbekannter Knoten: syncbody>n0");
  EXPECT_EQ(process.log.lines.back(),
            "Unbekannter Knoten: syncbody>n" + std::to_string(count - 1));
  EXPECT_EQ(file.AddTerminCol().Count(), 1);

  // The same, broken at its end: nothing but the load failure.
  const std::string whole = Message(body + Add("<Comment>x</Comment>"));
  EXPECT_FALSE(Analyze(whole.substr(0, whole.size() - 5)));
  EXPECT_EQ(process.log.lines, std::vector<std::string>{LoadFailure()});
  EXPECT_TRUE(process.ui.boxes.empty());
  EXPECT_EQ(file.AddTerminCol().Count(), 0);
}

TEST_F(UpDownFileStreamTest, AFileOfExactlyTheLimitIsRead) {
  std::string bytes = Message(Add("<Comment>x</Comment>"));
  bytes.resize(static_cast<size_t>(xml_limits::kMaxFileBytes), ' ');
  EXPECT_TRUE(Analyze(bytes));
  EXPECT_TRUE(process.log.lines.empty());
  EXPECT_EQ(file.AddTerminCol().Count(), 1);
}

TEST_F(UpDownFileStreamTest, AFileOneByteOverTheLimitIsReportedInItsOwnWords) {
  path = dir.File("HX17_2.xml");
  test::WriteFileBytes(path, Message(Add("<Comment>x</Comment>")));
  std::filesystem::resize_file(path, xml_limits::kMaxFileBytes + 1);
  process.log.lines.clear();
  EXPECT_FALSE(file.AnalyzeDownFile(path));
  const std::string too_large =
      "Die Download-Datei ist zu gro\xC3\x9F (134217729 Bytes, h\xC3\xB6" "chstens 134217728 "
      "Bytes): " +
      path;
  EXPECT_EQ(process.log.lines, (std::vector<std::string>{too_large, LoadFailure()}));
  ASSERT_EQ(process.ui.boxes.size(), 1u);
  EXPECT_EQ(process.ui.boxes[0].text, too_large);
  EXPECT_EQ(process.trace.lines.back(), "AnalyzeDownFile: " + path);
  EXPECT_EQ(file.AddTerminCol().Count(), 0);
}

}  // namespace
}  // namespace kdzv
