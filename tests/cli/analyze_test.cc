#include "cli/analyze.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "platform/platform.h"
#include "support/fake_registry.h"
#include "support/fakes.h"
#include "support/golden.h"

namespace kdzv {
namespace {

class AnalyzeTest : public ::testing::Test {
 protected:
  int Run(const std::string& file) {
    out.str("");
    err.str("");
    CliContext context{scoped.zone, registry, System().xml_parser, System().file_system, out,
                       err};
    return RunZvsync({"analyze", file}, context);
  }

  test::ScopedProcess scoped;
  test::FakeRegistry registry;
  test::TempDir dir;
  std::ostringstream out, err;
};

TEST_F(AnalyzeTest, ShowsHeaderAndEveryCommand) {
  const std::string file = test::TestDataPath("messages/HX17_2.xml");
  EXPECT_EQ(Run(file), kExitOk);
  EXPECT_EQ(out.str(), "file: " + file + "\n" + test::Golden("analyze/HX17_2.txt"));
  EXPECT_EQ(err.str(), "");
}

TEST_F(AnalyzeTest, ShowsTheReadersMessagesAsLogLines) {
  const std::string file = dir.File("HX1_2.xml");
  test::WriteFileBytes(file,
                       "<SyncML><SyncBody><Map/><Replace><Calendar><Source>C</Source></Calendar>"
                       "</Replace></SyncBody></SyncML>");
  EXPECT_EQ(Run(file), kExitOk);
  EXPECT_NE(out.str().find("log: Kommando <MAP> noch nicht unterstützt.\n"
                           "log: Replace bei <calendar> nicht unterstützt.\n"
                           "log: Knoten konnte nicht ausgewertet werden:syncbody>replace\n"),
            std::string::npos)
      << out.str();
  // The reports were not also asked as message boxes.
  EXPECT_TRUE(scoped.ui.boxes.empty());
}

TEST_F(AnalyzeTest, AnUnreadableFileIsExitOne) {
  const std::string file = dir.File("HX1_2.xml");
  test::WriteFileBytes(file, "<SyncML><SyncBody>");
  EXPECT_EQ(Run(file), kExitFailure);
  EXPECT_EQ(out.str(), "file: " + file +
                           "\nlog: (AnalyzeOrderFile) --> Achtung: Fehler beim Lesen der Datei: " +
                           file + "\n");
  EXPECT_EQ(err.str(), "zvsync: the file could not be read as a message: " + file + "\n");
}

TEST_F(AnalyzeTest, AnotherRootIsExitOne) {
  const std::string file = dir.File("HX1_2.xml");
  test::WriteFileBytes(file, "<Other/>");
  EXPECT_EQ(Run(file), kExitFailure);
}

TEST_F(AnalyzeTest, NeedsExactlyOneFile) {
  out.str("");
  CliContext context{scoped.zone, registry, System().xml_parser, System().file_system, out, err};
  EXPECT_EQ(RunZvsync({"analyze"}, context), kExitUsage);
  EXPECT_EQ(RunZvsync({"analyze", "a", "b"}, context), kExitUsage);
}

}  // namespace
}  // namespace kdzv
