#include "interface/error_report.h"

#include <gtest/gtest.h>

#include "support/fakes.h"

namespace kdzv {
namespace {

TEST(ErrorReport, FormatsNumberDescriptionModuleProcedureDetails) {
  EXPECT_EQ(FormatErrorReport(ErrorInfo{13, "Type mismatch", ""}, "clZVMatching",
                              "GetLastSessionID", "File=x.cfg"),
            "13/Type mismatch / Modul=clZVMatching / Proc=GetLastSessionID / Details=File=x.cfg");
}

TEST(ErrorReport, GoesToTheActiveInterfaceLog) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  ReportError(ErrorInfo{5, "Invalid procedure call or argument", ""}, "clZVStatus", "Proc", "d");
  ASSERT_EQ(scoped.log.lines.size(), 1u);
  EXPECT_EQ(scoped.log.lines[0],
            "(MAIN) --> ERROR: 5/Invalid procedure call or argument / Modul=clZVStatus / "
            "Proc=Proc / Details=d");
  EXPECT_TRUE(scoped.ui.boxes.empty());
}

TEST(ErrorReport, WithoutActiveInterfaceShowsCriticalMessageBox) {
  test::ScopedProcess scoped;
  ReportError(ErrorInfo{9, "Subscript out of range", ""}, "kdTCInterface", "X", "");
  ASSERT_EQ(scoped.ui.boxes.size(), 1u);
  EXPECT_EQ(scoped.ui.boxes[0].text,
            "Es ist der folgende Fehler aufgetreten:\r\n"
            "9/Subscript out of range / Modul=kdTCInterface / Proc=X / Details=");
  EXPECT_EQ(scoped.ui.boxes[0].style & msgbox::kCritical, msgbox::kCritical);
  EXPECT_EQ(scoped.ui.boxes[0].style & 0x0F, msgbox::kOkOnly);
}

TEST(ErrorReport, TheMostRecentInterfaceIsTheActiveOne) {
  test::ScopedProcess scoped;
  test::RecordingLogTarget first, second;
  process::SetActiveInterface(&first);
  process::SetActiveInterface(&second);
  ReportError(ErrorInfo{6, "Overflow", ""}, "m", "p", "d");
  EXPECT_TRUE(first.lines.empty());
  EXPECT_EQ(second.lines.size(), 1u);
}

TEST(ErrorReport, ReportCurrentErrorInsideCatch) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  try {
    RaiseStandard(err::kTypeMismatch);
  } catch (...) {
    ReportCurrentError("modDateTimeConvert", "ConvertZentavoToLocalDateTime", "2024X");
  }
  ASSERT_EQ(scoped.log.lines.size(), 1u);
  EXPECT_EQ(scoped.log.lines[0],
            "(MAIN) --> ERROR: 13/Type mismatch / Modul=modDateTimeConvert / "
            "Proc=ConvertZentavoToLocalDateTime / Details=2024X");
}

TEST(ErrorReport, ForeignExceptionsBecomeInternalErrors) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  try {
    throw std::runtime_error("boom");
  } catch (...) {
    ReportCurrentError("m", "p", "d");
  }
  ASSERT_EQ(scoped.log.lines.size(), 1u);
  EXPECT_EQ(scoped.log.lines[0],
            "(MAIN) --> ERROR: 51/Internal error (boom) / Modul=m / Proc=p / Details=d");
}

TEST(ErrorReport, AReportedCallAnswersTheBodysResult) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  EXPECT_EQ(ReportedCall("frmZVSync", "WindowProc", 0L, [] { return 42L; }), 42L);
  EXPECT_TRUE(scoped.log.lines.empty());
}

TEST(ErrorReport, AReportedCallReportsAFailureAndAnswersTheFallback) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  const long answered = ReportedCall("frmZVSync", "WindowProc", -1L, []() -> long {
    RaiseStandard(err::kInvalidCall, "");
  });
  EXPECT_EQ(answered, -1L);
  ASSERT_EQ(scoped.log.lines.size(), 1u);
  EXPECT_EQ(scoped.log.lines[0],
            "(MAIN) --> ERROR: 5/Invalid procedure call or argument / Modul=frmZVSync / "
            "Proc=WindowProc / Details=");
}

}  // namespace
}  // namespace kdzv
