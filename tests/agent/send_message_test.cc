#include "agent/send_message.h"

#include <gtest/gtest.h>

namespace kdzv::agent {
namespace {

const Placeholders kValues{"17", "HX17_", 3};

TEST(SendMessageTest, FillsEveryPlaceholder) {
  EXPECT_EQ(FillPlaceholders("{session}|{stem}|{msg}|{last}|{next}", kValues), "17|HX17_|4|3|5");
  EXPECT_EQ(FillPlaceholders("{stem}{msg}.xml", kValues), "HX17_4.xml");
  EXPECT_EQ(FillPlaceholders("{other} {msg", kValues), "{other} {msg");
  EXPECT_EQ(FillPlaceholders("{{msg}}", kValues), "{4}");
}

TEST(SendMessageTest, WrapsTheLinesIntoSyncBody) {
  EXPECT_EQ(WrapBody({"<A>{msg}</A>", "", "  <B/>"}, kValues),
            "<SyncBody><A>4</A>\n\n  <B/></SyncBody>");
  EXPECT_EQ(WrapBody({}, kValues), "<SyncBody></SyncBody>");
}

TEST(SendMessageTest, AppointmentLinesAreOneAddALineThenFinal) {
  const std::vector<std::string> lines = AppointmentLines(45);
  ASSERT_EQ(lines.size(), 46u);
  EXPECT_EQ(lines.back(), "<Final/>");
  EXPECT_EQ(lines[0].rfind("<Add><CmdID>1</CmdID><VEvent><Source>ZV-1</Source>"
                           "<DTStart>20250101T060000Z</DTStart><DTEnd>20250101T062500Z</DTEnd>",
                           0),
            0u);
  // The 21st is the first of the next day; the 40th the last of it.
  EXPECT_NE(lines[20].find("<DTStart>20250102T060000Z</DTStart>"), std::string::npos);
  EXPECT_NE(lines[39].find("<DTStart>20250102T153000Z</DTStart><DTEnd>20250102T155500Z"),
            std::string::npos);
  EXPECT_EQ(CountCommands(WrapBody(lines, kValues)), 45);
}

TEST(SendMessageTest, AWholeMessage) {
  EXPECT_EQ(BuildMessage({"<Add><CmdID>1</CmdID></Add>", "<Final/>"}, kValues, 4),
            "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
            "<SyncML xmlns=\"http://www.zentavo.de/WebServices/ZVSync/xml/SyncZV.xsd\">"
            "<SyncHdr><VerDTD>1.0</VerDTD><VerProto>SyncZV/1.0</VerProto>"
            "<SessionID>17</SessionID><MsgID>4</MsgID>"
            "<Source><LocName>Zentavo</LocName><LocURI/></Source>"
            "<Target><LocName>Halvex</LocName><LocURI/></Target></SyncHdr>\n"
            "<SyncBody><Add><CmdID>1</CmdID></Add>\n<Final/></SyncBody></SyncML>\n");
}

TEST(SendMessageTest, RawLinesEachEndInALineFeed) {
  EXPECT_EQ(BuildRaw({"<SyncML>", "{stem}"}, kValues), "<SyncML>\nHX17_\n");
  EXPECT_EQ(BuildRaw({}, kValues), "");
}

TEST(SendMessageTest, CountsCommandsButNotFinal) {
  EXPECT_EQ(CountCommands("<SyncBody><Add/><Status/><Final/></SyncBody>"), 2);
  EXPECT_EQ(CountCommands("<SyncBody></SyncBody>"), 0);
  EXPECT_EQ(CountCommands("<SyncBody><Add></SyncBody>"), -1);
}

}  // namespace
}  // namespace kdzv::agent
