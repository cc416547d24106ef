#include "exchange/log_writer.h"

#include <gtest/gtest.h>

#include "interface/error_report.h"
#include "support/fakes.h"
#include "support/memory_file_system.h"

namespace kdzv {
namespace {

// What the interface object does: its log writer serves as the error
// report's target, honouring its DoLog setting.
class LogTarget : public ErrorLogTarget {
 public:
  LogTarget(LogWriter& writer, bool& do_log) : writer_(writer), do_log_(do_log) {}
  void WriteLogLine(std::string_view text) override { writer_.Write(do_log_, text); }

 private:
  LogWriter& writer_;
  bool& do_log_;
};

class LogWriterTest : public ::testing::Test {
 protected:
  test::ScopedProcess scoped;
  test::MemoryFileSystem files;
  test::FixedClock clock{DateTime::FromFields({2024, 7, 1, 9, 5, 3})};
  LogWriter writer{files, clock, "/opt/halvex/kdZentavo.log"};
};

TEST_F(LogWriterTest, WritesDateTabTimeTabTextCrLf) {
  writer.Write(true, "Neue Datei erhalten: P17_2.xml");
  writer.Write(true, "second");
  EXPECT_EQ(files.files["/opt/halvex/kdZentavo.log"],
            "01.07.2024\t09:05:03\tNeue Datei erhalten: P17_2.xml\r\n"
            "01.07.2024\t09:05:03\tsecond\r\n");
  EXPECT_EQ(files.appends, 2);  // opened, written and closed per line
}

TEST_F(LogWriterTest, WritesNothingWithoutDoLog) {
  writer.Write(false, "x");
  EXPECT_TRUE(files.files.empty());
  EXPECT_EQ(files.appends, 0);
}

TEST_F(LogWriterTest, WritesNothingWithoutPath) {
  LogWriter no_path(files, clock, "");
  no_path.Write(true, "x");
  EXPECT_EQ(files.appends, 0);
}

TEST_F(LogWriterTest, CheckLogAccessWritesEvenWithoutDoLog) {
  std::string sErr = "stale";
  EXPECT_TRUE(writer.CheckLogAccess("Halvex startet", sErr));
  EXPECT_EQ(sErr, "");
  // No date or time columns.
  EXPECT_EQ(files.files["/opt/halvex/kdZentavo.log"], "Halvex startet\r\n");
}

TEST_F(LogWriterTest, CheckLogAccessFailureText) {
  files.failures["/opt/halvex/kdZentavo.log"] = err::kPermissionDenied;
  std::string sErr;
  EXPECT_FALSE(writer.CheckLogAccess("x", sErr));
  EXPECT_EQ(sErr,
            "Auf die Log-Datei /opt/halvex/kdZentavo.log kann nicht zugegriffen werden "
            "(Error 70 - Permission denied).");
  EXPECT_TRUE(scoped.Reports().empty());  // reported to the caller only
}

TEST_F(LogWriterTest, FailingLogIsReportedOnceAndSwallowed) {
  files.failures["/opt/halvex/kdZentavo.log"] = err::kPathNotFound;
  // No active interface: the report becomes a message box.
  writer.Write(true, "line");
  ASSERT_EQ(scoped.ui.boxes.size(), 1u);
  EXPECT_EQ(scoped.ui.boxes[0].text,
            "Es ist der folgende Fehler aufgetreten:\r\n76/Path not found / "
            "Modul=kdTCInterface / Proc=Log / Details=LogFile=/opt/halvex/kdZentavo.log");
}

TEST_F(LogWriterTest, FailingLogThroughActiveInterfaceDoesNotRecurse) {
  bool do_log = true;
  LogTarget target(writer, do_log);
  process::SetActiveInterface(&target);
  files.failures["/opt/halvex/kdZentavo.log"] = err::kPermissionDenied;
  writer.Write(true, "line");  // fails, reports through the same failing log
  EXPECT_EQ(files.appends, 2);
  EXPECT_TRUE(scoped.ui.boxes.empty());
  process::SetActiveInterface(nullptr);
}

TEST_F(LogWriterTest, ErrorReportsAreLoggedOnlyWithDoLog) {
  bool do_log = false;
  LogTarget target(writer, do_log);
  process::SetActiveInterface(&target);
  ReportError(ErrorInfo{6, "Overflow", ""}, "clZVSettings", "Load", "TimeoutSeconds");
  EXPECT_TRUE(files.files.empty());
  do_log = true;
  ReportError(ErrorInfo{6, "Overflow", ""}, "clZVSettings", "Load", "TimeoutSeconds");
  EXPECT_EQ(files.files["/opt/halvex/kdZentavo.log"],
            "01.07.2024\t09:05:03\t(MAIN) --> ERROR: 6/Overflow / Modul=clZVSettings / "
            "Proc=Load / Details=TimeoutSeconds\r\n");
  process::SetActiveInterface(nullptr);
}

}  // namespace
}  // namespace kdzv
