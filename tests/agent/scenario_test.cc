#include "agent/scenario.h"

#include <gtest/gtest.h>

#include <string>

namespace kdzv::agent {
namespace {

// The error of a scenario that must not parse.
std::string ErrorOf(const std::string& text) {
  std::string error;
  const std::optional<Scenario> scenario = ParseScenario(text, error);
  EXPECT_FALSE(scenario.has_value()) << text;
  return error;
}

Scenario Parsed(const std::string& text) {
  std::string error;
  std::optional<Scenario> scenario = ParseScenario(text, error);
  EXPECT_TRUE(scenario.has_value()) << error;
  EXPECT_EQ(error, "");
  return scenario.value_or(Scenario{});
}

TEST(ParseScenarioTest, EveryDirective) {
  const Scenario s = Parsed(
      "# a comment\n"
      "\n"
      "scenario whole-round\n"
      "about First line.\n"
      "about Second line.\n"
      "timeout 7\n"
      "hold 250\n"
      "receive\n"
      "  # comment inside\n"
      "\n"
      "  expect SyncBody/Alert/Data = 206\n"
      "  expect count SyncBody/Status[Cmd=Add,Data=201] 3\n"
      "  expect none SyncBody/Map\n"
      "  expect SyncBody/Status[Cmd=SyncHdr]/Text =\n"
      "end\n"
      "send\n"
      "<Add><CmdID>1</CmdID>\n"
      "  # not part of the message\n"
      "\n"
      "</Add>\n"
      "end\n"
      "hold 0\n"
      "send-file XX9_{msg}.xml\n"
      "<Final/>\n"
      "end\n"
      "send-raw {stem}{next}.xml\n"
      "<SyncML><broken\n"
      "end\n"
      "expect-taken XX9_{msg}.xml\n"
      "expect-taken {stem}{next}.xml 800\n"
      "timeout 3\n"
      "receive\n"
      "end\n"
      "expect-no-message 1500\n");
  EXPECT_EQ(s.name, "whole-round");
  ASSERT_EQ(s.about.size(), 2u);
  EXPECT_EQ(s.about[0], "First line.");
  EXPECT_EQ(s.about[1], "Second line.");
  ASSERT_EQ(s.steps.size(), 8u);

  const Step& receive = s.steps[0];
  EXPECT_EQ(receive.kind, StepKind::kReceive);
  EXPECT_EQ(receive.line, 8);
  EXPECT_EQ(receive.wait_ms, 7000);
  ASSERT_EQ(receive.expectations.size(), 4u);
  EXPECT_EQ(receive.expectations[0].kind, Expectation::Kind::kText);
  EXPECT_EQ(FormatMessagePath(receive.expectations[0].path), "SyncBody/Alert/Data");
  EXPECT_EQ(receive.expectations[0].text, "206");
  EXPECT_EQ(receive.expectations[0].line, 11);
  EXPECT_EQ(receive.expectations[1].kind, Expectation::Kind::kCount);
  EXPECT_EQ(FormatMessagePath(receive.expectations[1].path), "SyncBody/Status[Cmd=Add,Data=201]");
  EXPECT_EQ(receive.expectations[1].count, 3);
  EXPECT_EQ(receive.expectations[2].kind, Expectation::Kind::kNone);
  EXPECT_EQ(receive.expectations[3].kind, Expectation::Kind::kText);
  EXPECT_EQ(receive.expectations[3].text, "");

  const Step& send = s.steps[1];
  EXPECT_EQ(send.kind, StepKind::kSend);
  EXPECT_EQ(send.line, 16);
  EXPECT_EQ(send.hold_ms, 250);
  // Comment lines are left out, blank lines kept as they are.
  EXPECT_EQ(send.lines, (std::vector<std::string>{"<Add><CmdID>1</CmdID>", "", "</Add>"}));

  EXPECT_EQ(s.steps[2].kind, StepKind::kSendFile);
  EXPECT_EQ(s.steps[2].name, "XX9_{msg}.xml");
  EXPECT_EQ(s.steps[2].hold_ms, 0);
  EXPECT_EQ(s.steps[3].kind, StepKind::kSendRaw);
  EXPECT_EQ(s.steps[3].name, "{stem}{next}.xml");
  EXPECT_EQ(s.steps[3].lines, (std::vector<std::string>{"<SyncML><broken"}));

  EXPECT_EQ(s.steps[4].kind, StepKind::kExpectTaken);
  EXPECT_EQ(s.steps[4].name, "XX9_{msg}.xml");
  EXPECT_EQ(s.steps[4].wait_ms, kDefaultTakenMs);
  EXPECT_EQ(s.steps[5].wait_ms, 800);
  EXPECT_EQ(s.steps[6].kind, StepKind::kReceive);
  EXPECT_EQ(s.steps[6].wait_ms, 3000);
  EXPECT_TRUE(s.steps[6].expectations.empty());
  EXPECT_EQ(s.steps[7].kind, StepKind::kExpectNoMessage);
  EXPECT_EQ(s.steps[7].wait_ms, 1500);
  EXPECT_EQ(s.steps[7].line, 34);
}

TEST(ParseScenarioTest, SendAppointmentsMakesASendOfThatMany) {
  const Scenario s = Parsed("scenario many\nhold 5\nreceive\nend\nsend-appointments 1200\n");
  ASSERT_EQ(s.steps.size(), 2u);
  EXPECT_EQ(s.steps[1].kind, StepKind::kSend);
  EXPECT_EQ(s.steps[1].appointments, 1200);
  EXPECT_EQ(s.steps[1].hold_ms, 5);
  EXPECT_EQ(s.steps[1].line, 5);
  EXPECT_EQ(ErrorOf("scenario many\nreceive\nend\nsend-appointments 0\n"),
            "scenario line 4: send-appointments needs a whole number of appointments from 1 to "
            "250000");
  EXPECT_EQ(ErrorOf("scenario many\nsend-appointments 5\n"),
            "scenario line 2: send-appointments before the first receive (the session is not "
            "known yet)");
}

TEST(ParseScenarioTest, Defaults) {
  const Scenario s = Parsed("scenario d\nreceive\nend\nsend\nend\n");
  EXPECT_TRUE(s.about.empty());
  EXPECT_EQ(s.steps[0].wait_ms, kDefaultTimeoutSeconds * 1000);
  EXPECT_EQ(s.steps[1].hold_ms, 0);
  EXPECT_TRUE(s.steps[1].lines.empty());
}

TEST(ParseScenarioTest, CrLfLinesAByteOrderMarkAndNoFinalLineFeed) {
  const Scenario s = Parsed("\xEF\xBB\xBFscenario w\r\nreceive\r\n expect A = b \r\nend");
  EXPECT_EQ(s.name, "w");
  EXPECT_EQ(s.steps[0].expectations[0].text, "b");
}

TEST(ParseScenarioTest, FilterTextsMayHoldBlanks) {
  const Scenario s = Parsed(
      "scenario f\nreceive\nexpect SyncBody/Status[Cmd=SyncHdr, Text=Session End]/Data = 200\n"
      "end\n");
  const MessagePath& path = s.steps[0].expectations[0].path;
  ASSERT_EQ(path.segments[1].filters.size(), 2u);
  EXPECT_EQ(path.segments[1].filters[1].child, "Text");
  EXPECT_EQ(path.segments[1].filters[1].text, "Session End");
  EXPECT_EQ(s.steps[0].expectations[0].text, "200");
}

TEST(ParseScenarioTest, PlaceholdersInExpectations) {
  const Scenario s = Parsed(
      "scenario p\nreceive\nexpect SyncHdr/SessionID = {session}\n"
      "expect count SyncBody/Status[MsgRef={last}] 0\nend\n");
  EXPECT_EQ(s.steps[0].expectations[0].text, "{session}");
  EXPECT_EQ(s.steps[0].expectations[1].path.segments[1].filters[0].text, "{last}");
}

struct SyntaxCase {
  const char* text;
  const char* error;
};

class ScenarioSyntaxErrorTest : public ::testing::TestWithParam<SyntaxCase> {};

TEST_P(ScenarioSyntaxErrorTest, NamesTheLine) {
  EXPECT_EQ(ErrorOf(GetParam().text), GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    Errors, ScenarioSyntaxErrorTest,
    ::testing::Values(
        SyntaxCase{"", "scenario line 1: the file holds no \"scenario NAME\" line"},
        SyntaxCase{"# only a comment\n\n",
                   "scenario line 1: the file holds no \"scenario NAME\" line"},
        SyntaxCase{"# c\nreceive\nend\n",
                   "scenario line 2: the file must begin with \"scenario NAME\""},
        SyntaxCase{"scenario\n", "scenario line 1: scenario needs one name (no blanks)"},
        SyntaxCase{"scenario two words\n", "scenario line 1: scenario needs one name (no blanks)"},
        SyntaxCase{"scenario a\nscenario b\n", "scenario line 2: a second \"scenario\" line"},
        SyntaxCase{"scenario a\n", "scenario line 1: the scenario has no steps"},
        SyntaxCase{"scenario a\nabout\n", "scenario line 2: about needs a text"},
        SyntaxCase{"scenario a\ntimeout\n",
                   "scenario line 2: timeout needs a whole number of seconds from 1 to 3600"},
        SyntaxCase{"scenario a\ntimeout 0\n",
                   "scenario line 2: timeout needs a whole number of seconds from 1 to 3600"},
        SyntaxCase{"scenario a\ntimeout 2.5\n",
                   "scenario line 2: timeout needs a whole number of seconds from 1 to 3600"},
        SyntaxCase{"scenario a\n\ntimeout 3601\n",
                   "scenario line 3: timeout needs a whole number of seconds from 1 to 3600"},
        SyntaxCase{"scenario a\nhold -1\n",
                   "scenario line 2: hold needs a whole number of milliseconds from 0 to 3600000"},
        SyntaxCase{"scenario a\nhold x\n",
                   "scenario line 2: hold needs a whole number of milliseconds from 0 to 3600000"},
        SyntaxCase{"scenario a\nfrobnicate\n", "scenario line 2: unknown directive \"frobnicate\""},
        SyntaxCase{"scenario a\nend\n", "scenario line 2: \"end\" without a block to close"},
        SyntaxCase{"scenario a\nexpect A = 1\n",
                   "scenario line 2: \"expect\" belongs inside a receive block"},
        SyntaxCase{"scenario a\nreceive now\nend\n",
                   "scenario line 2: receive takes nothing after it"},
        SyntaxCase{"scenario a\nreceive\nexpect A = 1\n",
                   "scenario line 2: receive without \"end\""},
        SyntaxCase{
            "scenario a\nreceive\nsend\nend\n",
            "scenario line 3: only \"expect\" lines belong inside receive (missing \"end\"?)"},
        SyntaxCase{"scenario a\nreceive\nexpect\nend\n", "scenario line 3: expect needs a path"},
        SyntaxCase{"scenario a\nreceive\nexpect A/B\nend\n",
                   "scenario line 3: expect needs \"= TEXT\" after the path (or: expect "
                   "count/none)"},
        SyntaxCase{"scenario a\nreceive\nexpect A//B = 1\nend\n",
                   "scenario line 3: bad path: an element name is missing in \"A//B\""},
        SyntaxCase{"scenario a\nreceive\nexpect A[B=1 = 1\nend\n",
                   "scenario line 3: bad path: \"[\" without \"]\" in \"A[B=1 = 1\""},
        SyntaxCase{"scenario a\nreceive\nexpect A[B] = 1\nend\n",
                   "scenario line 3: bad path: a filter needs \"=\" (Name[Child=Text])"},
        SyntaxCase{"scenario a\nreceive\nexpect count A\nend\n",
                   "scenario line 3: expect count needs a path and a whole number"},
        SyntaxCase{"scenario a\nreceive\nexpect count A x\nend\n",
                   "scenario line 3: expect count needs a path and a whole number"},
        SyntaxCase{"scenario a\nreceive\nexpect count\nend\n",
                   "scenario line 3: expect count needs a path"},
        SyntaxCase{"scenario a\nreceive\nexpect none A 1\nend\n",
                   "scenario line 3: expect none takes only a path"},
        SyntaxCase{"scenario a\nreceive\nexpect A = {sesion}\nend\n",
                   "scenario line 3: unknown placeholder {sesion} (known: {session} {stem} {msg} "
                   "{last} {next})"},
        SyntaxCase{"scenario a\nsend\nend\n",
                   "scenario line 2: send before the first receive (the session is not known "
                   "yet)"},
        SyntaxCase{"scenario a\nsend-raw X.xml\nend\n",
                   "scenario line 2: send-raw before the first receive (the session is not known "
                   "yet)"},
        SyntaxCase{"scenario a\nexpect-taken X.xml\n",
                   "scenario line 2: expect-taken before the first receive (the session is not "
                   "known yet)"},
        SyntaxCase{"scenario a\nexpect-no-message 100\n",
                   "scenario line 2: expect-no-message before the first receive (the session is "
                   "not known yet)"},
        SyntaxCase{"scenario a\nreceive\nend\nsend x\nend\n",
                   "scenario line 4: send takes nothing after it (see send-file)"},
        SyntaxCase{"scenario a\nreceive\nend\nsend\n<A/>\n",
                   "scenario line 4: send without \"end\""},
        SyntaxCase{"scenario a\nreceive\nend\nsend-raw X.xml\n",
                   "scenario line 4: send-raw without \"end\""},
        SyntaxCase{"scenario a\nreceive\nend\nsend-file\nend\n",
                   "scenario line 4: send-file needs a file name"},
        SyntaxCase{"scenario a\nreceive\nend\nsend-file a b\nend\n",
                   "scenario line 4: send-file takes one file name (no blanks)"},
        SyntaxCase{"scenario a\nreceive\nend\nsend-file ../X.xml\nend\n",
                   "scenario line 4: the file name \"../X.xml\" must not name a folder"},
        SyntaxCase{"scenario a\nreceive\nend\nsend-raw {prefix}1.xml\nend\n",
                   "scenario line 4: unknown placeholder {prefix} (known: {session} {stem} {msg} "
                   "{last} {next})"},
        SyntaxCase{"scenario a\nreceive\nend\nsend\n<A>{nope}</A>\nend\n",
                   "scenario line 5: unknown placeholder {nope} (known: {session} {stem} {msg} "
                   "{last} {next})"},
        SyntaxCase{"scenario a\nreceive\nend\nsend\n<Add>\n<CmdID>1</CmdID>\n</Ad>\nend\n",
                   "scenario line 7: the message is not well-formed XML: the end tag </Ad> does "
                   "not close <Add>"},
        SyntaxCase{"scenario a\nreceive\nend\nsend-file X.xml\n<Add>\n# c\n<CmdID>1</CmdID>\nend\n",
                   "scenario line 7: the message is not well-formed XML: the end tag "
                   "</SyncBody> does not close <Add>"},
        SyntaxCase{"scenario a\nreceive\nend\nsend\n<A>&nbsp;</A>\nend\n",
                   "scenario line 5: the message is not well-formed XML: unknown entity &nbsp;"},
        SyntaxCase{"scenario a\nreceive\nend\nexpect-taken\n",
                   "scenario line 4: expect-taken needs a file name"},
        SyntaxCase{"scenario a\nreceive\nend\nexpect-taken X.xml soon\n",
                   "scenario line 4: expect-taken needs a file name and optionally milliseconds"},
        SyntaxCase{"scenario a\nreceive\nend\nexpect-no-message\n",
                   "scenario line 4: expect-no-message needs a whole number of milliseconds"},
        SyntaxCase{"scenario a\nreceive\nend\nexpect-no-message 0\n",
                   "scenario line 4: expect-no-message needs a whole number of milliseconds"}),
    // Stable names for the test list: the case's number.
    [](const ::testing::TestParamInfo<SyntaxCase>& param_info) {
      return "Case" + std::to_string(param_info.index);
    });

TEST(ParseScenarioTest, RawBlocksNeedNotBeXml) {
  const Scenario s = Parsed("scenario r\nreceive\nend\nsend-raw {stem}{msg}.xml\n<<<\nend\n");
  EXPECT_EQ(s.steps[1].lines, (std::vector<std::string>{"<<<"}));
}

TEST(ParseScenarioTest, AnEndLineMayBeIndented) {
  const Scenario s = Parsed("scenario r\nreceive\n  end\nsend\n  <Final/>\n  end  \n");
  EXPECT_EQ(s.steps[1].lines, (std::vector<std::string>{"  <Final/>"}));
}

}  // namespace
}  // namespace kdzv::agent
