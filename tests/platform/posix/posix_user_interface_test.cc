#include "platform/posix/posix_user_interface.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "support/fakes.h"

namespace kdzv::posix {
namespace {

// Standard error and input replaced by files: no terminal.
class PosixUserInterfaceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    out_ = std::fopen(dir_.File("out").c_str(), "w+");
    in_ = std::fopen(dir_.File("in").c_str(), "w+");
    ASSERT_NE(out_, nullptr);
    ASSERT_NE(in_, nullptr);
  }
  void TearDown() override {
    std::fclose(out_);
    std::fclose(in_);
  }
  std::string Printed() {
    std::fflush(out_);
    return test::ReadFileBytes(dir_.File("out"));
  }

  test::TempDir dir_;
  std::FILE* out_ = nullptr;
  std::FILE* in_ = nullptr;
};

TEST_F(PosixUserInterfaceTest, OkBoxIsPrintedAndAnsweredOk) {
  PosixUserInterface ui(out_, in_);
  EXPECT_EQ(ui.ShowMessageBox("Es ist der folgende Fehler aufgetreten:\r\n5/x", 16, "kdZentavo"),
            msgbox::kOk);
  EXPECT_EQ(Printed(), "[kdZentavo] Es ist der folgende Fehler aufgetreten:\n5/x\n");
}

TEST_F(PosixUserInterfaceTest, QuestionWithoutTerminalIsAnsweredNoAtOnce) {
  std::fputs("j\n", in_);  // even a waiting answer is not read
  std::rewind(in_);
  PosixUserInterface ui(out_, in_);
  EXPECT_EQ(ui.ShowMessageBox("Abbrechen?", msgbox::kYesNo | msgbox::kQuestion, "kdZentavo"),
            msgbox::kNo);
}

TEST_F(PosixUserInterfaceTest, NoInputStreamNeverBlocks) {
  PosixUserInterface ui(out_, nullptr);
  EXPECT_EQ(ui.ShowMessageBox("?", msgbox::kYesNo, "t"), msgbox::kNo);
  EXPECT_EQ(ui.ShowMessageBox("?", 1, "t"), msgbox::kCancel);
}

// On a terminal the question waits for the user's answer.
class TerminalAnswers : public ::testing::Test {
 protected:
  void SetUp() override {
    master_ = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(master_, 0);
    ASSERT_EQ(::grantpt(master_), 0);
    ASSERT_EQ(::unlockpt(master_), 0);
    terminal_ = std::fopen(::ptsname(master_), "r");
    ASSERT_NE(terminal_, nullptr);
    out_ = std::fopen(dir_.File("out").c_str(), "w+");
    ASSERT_NE(out_, nullptr);
  }
  void TearDown() override {
    if (terminal_ != nullptr) std::fclose(terminal_);
    if (out_ != nullptr) std::fclose(out_);
    if (master_ >= 0) ::close(master_);
  }
  // Types `line` on the terminal, then asks.
  int32_t Ask(const char* line, int32_t style) {
    const ssize_t length = static_cast<ssize_t>(std::char_traits<char>::length(line));
    EXPECT_EQ(::write(master_, line, static_cast<size_t>(length)), length);
    PosixUserInterface ui(out_, terminal_);
    return ui.ShowMessageBox("Wollen Sie abbrechen?", style, "kdZentavo");
  }

  test::TempDir dir_;
  int master_ = -1;
  std::FILE* terminal_ = nullptr;
  std::FILE* out_ = nullptr;
};

TEST_F(TerminalAnswers, JaIsYes) {
  EXPECT_EQ(Ask("j\n", msgbox::kYesNo | msgbox::kQuestion), msgbox::kYes);
  std::fflush(out_);
  EXPECT_EQ(test::ReadFileBytes(dir_.File("out")), "[kdZentavo] Wollen Sie abbrechen?\n(j/N) ");
}

TEST_F(TerminalAnswers, AnythingElseIsNo) {
  EXPECT_EQ(Ask("\n", msgbox::kYesNo), msgbox::kNo);
}

TEST_F(TerminalAnswers, OkCancelQuestion) {
  EXPECT_EQ(Ask("o\n", 1), msgbox::kOk);
}

}  // namespace
}  // namespace kdzv::posix
