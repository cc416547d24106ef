#include "platform/posix/terminal_view.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace kdzv::posix {
namespace {

constexpr char kQuestion[] = "Soll der Syncronisation-Prozess wirklich abgebrochen werden?";

// An input stream holding `text` and an output stream collecting what is
// written, both closed at the end.
class Streams {
 public:
  explicit Streams(const std::string& text) : input_text_(text) {
    in = fmemopen(input_text_.data(), input_text_.size(), "r");
    out = open_memstream(&buffer_, &size_);
  }
  ~Streams() {
    if (in != nullptr) std::fclose(in);
    if (out != nullptr) std::fclose(out);
    std::free(buffer_);
  }
  Streams(const Streams&) = delete;
  Streams& operator=(const Streams&) = delete;

  std::string Written() {
    std::fflush(out);
    return std::string(buffer_, size_);
  }

  std::FILE* in = nullptr;
  std::FILE* out = nullptr;

 private:
  std::string input_text_;
  char* buffer_ = nullptr;
  size_t size_ = 0;
};

bool Always(std::FILE*) { return true; }
bool Never(std::FILE*) { return false; }

bool AskWith(const std::string& typed, std::string* written = nullptr) {
  Streams streams(typed);
  TerminalView view(streams.in, streams.out, Always);
  const bool yes = view.AskYesNo(kQuestion);
  if (written != nullptr) *written = streams.Written();
  return yes;
}

TEST(TerminalViewTest, AsksOnTheTerminal) {
  std::string written;
  EXPECT_TRUE(AskWith("j\n", &written));
  EXPECT_EQ(written, std::string(kQuestion) + " (j/N) ");
}

TEST(TerminalViewTest, YesAnswers) {
  for (const std::string typed : {"j\n", "J\n", "ja\n", "Ja\n", "JA\n", "  j  \n", "j"}) {
    EXPECT_TRUE(AskWith(typed)) << typed;
  }
}

TEST(TerminalViewTest, EverythingElseIsNo) {
  for (const std::string typed : {"\n", "n\n", "nein\n", "y\n", "yes\n", "jein\n", "jj\n", ""}) {
    EXPECT_FALSE(AskWith(typed)) << typed;
  }
}

TEST(TerminalViewTest, EndOfInputIsNoAndEndsTheLine) {
  std::string written;
  EXPECT_FALSE(AskWith("", &written));
  EXPECT_EQ(written, std::string(kQuestion) + " (j/N) \n");
}

TEST(TerminalViewTest, LongAnswerLineIsReadWhole) {
  EXPECT_FALSE(AskWith(std::string(500, 'j') + "\n"));
}

TEST(TerminalViewTest, OneAnswerPerQuestion) {
  Streams streams("n\nja\n");
  TerminalView view(streams.in, streams.out, Always);
  EXPECT_FALSE(view.AskYesNo("A?"));
  EXPECT_TRUE(view.AskYesNo("B?"));
  EXPECT_EQ(streams.Written(), "A? (j/N) B? (j/N) ");
}

TEST(TerminalViewTest, WithoutTerminalAnswersYesWithoutReading) {
  Streams streams("n\n");
  TerminalView view(streams.in, streams.out, Never);
  EXPECT_TRUE(view.AskYesNo(kQuestion));
  EXPECT_EQ(streams.Written(), std::string(kQuestion) + " (j/N) j\n");
  // The input was not touched.
  char first[4] = {};
  ASSERT_NE(std::fgets(first, sizeof first, streams.in), nullptr);
  EXPECT_EQ(std::string(first), "n\n");
}

TEST(TerminalViewTest, BothStreamsMustBeTerminals) {
  for (bool in_is_terminal : {false, true}) {
    for (bool out_is_terminal : {false, true}) {
      Streams streams("n\n");
      TerminalView view(streams.in, streams.out, [&](std::FILE* stream) {
        return stream == streams.in ? in_is_terminal : out_is_terminal;
      });
      const bool yes = view.AskYesNo(kQuestion);
      EXPECT_EQ(yes, !(in_is_terminal && out_is_terminal))
          << in_is_terminal << out_is_terminal;
    }
  }
}

TEST(TerminalViewTest, NoOutputStreamStillAnswersYes) {
  TerminalView view(nullptr, nullptr, Always);
  EXPECT_TRUE(view.AskYesNo(kQuestion));
}

TEST(TerminalViewTest, RealCheckSeesNoTerminalInMemoryStreams) {
  Streams streams("n\n");
  EXPECT_FALSE(TerminalView::IsTerminal(streams.in));
  EXPECT_FALSE(TerminalView::IsTerminal(nullptr));
  TerminalView view(streams.in, streams.out);
  EXPECT_TRUE(view.AskYesNo(kQuestion));
}

TEST(TerminalViewTest, KeepsShownStateAndDrawsNoLogText) {
  Streams streams("");
  TerminalView view(streams.in, streams.out, Always);
  EXPECT_FALSE(view.Shown());
  view.Show(123);
  EXPECT_TRUE(view.Shown());
  view.AppendLog("\r\nA\r\nB");
  view.ClearLog();
  view.Close();
  EXPECT_FALSE(view.Shown());
  // Nothing is drawn: the host prints the status lines itself.
  EXPECT_EQ(streams.Written(), "");
}

}  // namespace
}  // namespace kdzv::posix
