#include "platform/posix/posix_user_interface.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace kdzv::posix
