#include "interface/component_log.h"

#include <gtest/gtest.h>

#include <string>

#include "support/fakes.h"

namespace kdzv {
namespace {

TEST(ComponentLog, AReportIsLoggedAndShown) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  ReportLine("Fehler A");
  ReportLine("Fehler A");
  ASSERT_EQ(scoped.log.lines.size(), 2u);
  ASSERT_EQ(scoped.ui.boxes.size(), 2u);
  EXPECT_EQ(scoped.ui.boxes[0].text, "Fehler A");
  EXPECT_EQ(scoped.ui.boxes[0].title, "kdZentavo");
}

TEST(ComponentLog, WithinOneScopeEachTextIsShownOnceAndLoggedEveryTime) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  {
    OneBoxPerText scope;
    for (int i = 0; i < 2000; ++i) ReportLine("Unbekannter Knoten: vevent>neu");
    ReportLine("Unbekannter Knoten: vevent>anders");
    ReportLine("Unbekannter Knoten: vevent>neu");
  }
  EXPECT_EQ(scoped.log.lines.size(), 2002u);
  ASSERT_EQ(scoped.ui.boxes.size(), 2u);
  EXPECT_EQ(scoped.ui.boxes[0].text, "Unbekannter Knoten: vevent>neu");
  EXPECT_EQ(scoped.ui.boxes[1].text, "Unbekannter Knoten: vevent>anders");
  // The next message shows its texts again.
  {
    OneBoxPerText scope;
    ReportLine("Unbekannter Knoten: vevent>neu");
  }
  EXPECT_EQ(scoped.ui.boxes.size(), 3u);
}

TEST(ComponentLog, TheInnermostScopeCounts) {
  test::ScopedProcess scoped;
  OneBoxPerText outer;
  ReportLine("x");
  {
    OneBoxPerText inner;
    ReportLine("x");
    ReportLine("x");
  }
  ReportLine("x");
  EXPECT_EQ(scoped.ui.boxes.size(), 2u);
}

}  // namespace
}  // namespace kdzv
