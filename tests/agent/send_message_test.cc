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
