#include "exchange/test_down_file.h"

#include <gtest/gtest.h>

#include "platform/platform.h"
#include "support/fakes.h"
#include "support/golden.h"

namespace kdzv {
namespace {

TEST(TestDownFileTest, ReadsAWellFormedMessageWithoutAnyReport) {
  test::ScopedProcess process;
  process.ActivateLog();
  const std::string file = test::TestDataPath("messages/HX17_2.xml");
  const std::string before = test::ReadFileBytes(file);
  EXPECT_TRUE(TestDownFile(file, System().xml_parser, System().file_system, "www.zentavo.de"));
  EXPECT_TRUE(process.log.lines.empty());
  EXPECT_TRUE(process.ui.boxes.empty());
  EXPECT_EQ(process.trace.lines, std::vector<std::string>{"AnalyzeDownFile: " + file});
  EXPECT_EQ(test::ReadFileBytes(file), before);
}

TEST(TestDownFileTest, AnUnreadableFileIsLoggedAsDuringAnExchange) {
  test::ScopedProcess process;
  process.ActivateLog();
  test::TempDir dir;
  const std::string file = dir.File("HX1_2.xml");
  test::WriteFileBytes(file, "<SyncML>");
  EXPECT_FALSE(TestDownFile(file, System().xml_parser, System().file_system, "www.zentavo.de"));
  EXPECT_EQ(process.log.lines, std::vector<std::string>{
                                   "(AnalyzeOrderFile) --> Achtung: Fehler beim Lesen der Datei: " +
                                   file});
  EXPECT_TRUE(test::FolderEntries(dir.path()) == std::vector<std::string>{"HX1_2.xml"});
}

TEST(TestDownFileTest, ProblemsOfTheContentAreReported) {
  test::ScopedProcess process;
  process.ActivateLog();
  test::TempDir dir;
  const std::string file = dir.File("HX1_2.xml");
  test::WriteFileBytes(file, "<SyncML><SyncBody><Unknown/></SyncBody></SyncML>");
  EXPECT_TRUE(TestDownFile(file, System().xml_parser, System().file_system, "www.zentavo.de"));
  EXPECT_EQ(process.log.lines, std::vector<std::string>{"Unbekannter Knoten: syncbody>unknown"});
  ASSERT_EQ(process.ui.boxes.size(), 1u);
  EXPECT_EQ(process.ui.boxes[0].text, "Unbekannter Knoten: syncbody>unknown");
}

}  // namespace
}  // namespace kdzv
