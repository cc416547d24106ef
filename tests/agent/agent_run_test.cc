// The agent run on a thread of its own, with the test playing the
// component: it writes the upload files and reads what the agent writes.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <sstream>
#include <thread>

#include "agent/agent.h"
#include "agent/agent_test_support.h"
#include "support/fakes.h"

namespace kdzv::agent {
namespace {

using test::ComponentMessage;
using test::ReadFileBytes;
using test::WaitForBytes;
using test::WaitForNoFile;
using test::WriteFileBytes;

class AgentRunTest : public ::testing::Test {
 protected:
  AgentRunTest() {
    options.upload = dir.File("up");
    options.download = dir.File("down");
    std::filesystem::create_directories(options.upload);
    std::filesystem::create_directories(options.download);
  }
  ~AgentRunTest() override {
    if (thread_.joinable()) thread_.join();
  }

  std::string Up(const std::string& name) const { return dir.File("up") + "/" + name; }
  std::string Down(const std::string& name) const { return dir.File("down") + "/" + name; }

  void Start(const std::string& text) {
    std::string error;
    std::optional<Scenario> parsed = ParseScenario(text, error);
    ASSERT_TRUE(parsed.has_value()) << error;
    scenario_ = std::move(*parsed);
    thread_ = std::thread([this] { result_ = RunScenario(scenario_, options, out_, &report); });
  }

  // Waits for the run's end; its result.
  int Finish() {
    thread_.join();
    transcript = out_.str();
    return result_;
  }

  test::TempDir dir;
  AgentOptions options;
  AgentReport report;
  std::string transcript;

 private:
  Scenario scenario_;
  std::thread thread_;
  std::ostringstream out_;
  int result_ = -1;
};

const char* kStart = "<Alert><CmdID>1</CmdID><Data>206</Data><Text>Session Start</Text></Alert>";

TEST_F(AgentRunTest, AWholeExchange) {
  options.keep = dir.File("keep");
  Start(
      "scenario round\n"
      "timeout 5\n"
      "hold 300\n"
      "receive\n"
      "  expect SyncBody/Alert/Data = 206\n"
      "  expect SyncBody/Alert/Text = Session Start\n"
      "end\n"
      "send\n"
      "<Add><CmdID>1</CmdID><Calendar><Source>CAL-1</Source><Target/>"
      "<Title>Dr. Weiß</Title></Calendar></Add>\n"
      "<Final/>\n"
      "end\n"
      "hold 0\n"
      "receive\n"
      "  expect count SyncBody/Status[Cmd=Add,Data=201] 1\n"
      "  expect SyncBody/Map/Calendar[Target=CAL-1]/Source = 1\n"
      "  expect none SyncBody/Replace\n"
      "end\n"
      "send-file XX9_{msg}.xml\n"
      "<Final/>\n"
      "end\n"
      "send-raw {stem}{next}.xml\n"
      "not xml at all\n"
      "end\n"
      "expect-taken XX9_{msg}.xml 3000\n"
      "expect-no-message 300\n");

  const std::string first = ComponentMessage("17", "1", kStart);
  WriteFileBytes(Up("HX17_1.xml"), first);

  // The answer stays locked for the hold time after its bytes are written.
  ASSERT_TRUE(WaitForBytes(Down("HX17_2.xml")));
  const auto seen = std::chrono::steady_clock::now();
  EXPECT_TRUE(test::LockedByWriter(Down("HX17_2.xml")));
  while (test::LockedByWriter(Down("HX17_2.xml"))) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_GE(std::chrono::steady_clock::now() - seen, std::chrono::milliseconds(200));
  EXPECT_EQ(ReadFileBytes(Down("HX17_2.xml")),
            "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
            "<SyncML xmlns=\"http://www.zentavo.de/WebServices/ZVSync/xml/SyncZV.xsd\">"
            "<SyncHdr><VerDTD>1.0</VerDTD><VerProto>SyncZV/1.0</VerProto>"
            "<SessionID>17</SessionID><MsgID>2</MsgID>"
            "<Source><LocName>Zentavo</LocName><LocURI/></Source>"
            "<Target><LocName>Halvex</LocName><LocURI/></Target></SyncHdr>\n"
            "<SyncBody><Add><CmdID>1</CmdID><Calendar><Source>CAL-1</Source><Target/>"
            "<Title>Dr. Wei\xC3\x9F</Title></Calendar></Add>\n<Final/></SyncBody></SyncML>\n");
  // The received file was kept with its bytes and left the upload folder.
  EXPECT_FALSE(std::filesystem::exists(Up("HX17_1.xml")));
  EXPECT_EQ(ReadFileBytes(dir.File("keep") + "/HX17_1.xml"), first);

  // The next message, its name in other letter case.
  const std::string answer = ComponentMessage(
      "17", "3",
      "<Status><Cmd>Add</Cmd><CmdID>1</CmdID><CmdRef>1</CmdRef><MsgRef>2</MsgRef><Data>201</Data>"
      "<Text/></Status><Map><CmdID>2</CmdID><Calendar><Source>1</Source><Target>CAL-1</Target>"
      "</Calendar></Map>");
  WriteFileBytes(Up("hx17_3.XML"), answer);

  ASSERT_TRUE(WaitForBytes(Down("XX9_4.xml")));
  ASSERT_TRUE(WaitForBytes(Down("HX17_5.xml")));
  EXPECT_EQ(ReadFileBytes(Down("HX17_5.xml")), "not xml at all\n");
  const std::string foreign = ReadFileBytes(Down("XX9_4.xml"));
  EXPECT_NE(foreign.find("<SessionID>17</SessionID><MsgID>4</MsgID>"), std::string::npos)
      << foreign;
  EXPECT_NE(foreign.find("<SyncBody><Final/></SyncBody></SyncML>\n"), std::string::npos);
  std::filesystem::remove(Down("XX9_4.xml"));  // the component puts it away

  EXPECT_EQ(Finish(), kRunPassed) << transcript;
  EXPECT_EQ(transcript,
            "agent: received HX17_1.xml (SessionID 17, MsgID 1: Alert 206)\n"
            "agent:   ok   one line ending CR LF\n"
            "agent:   ok   SyncHdr/SessionID = 17 (as in the name)\n"
            "agent:   ok   SyncHdr/MsgID = 1 (as in the name)\n"
            "agent:   ok   SyncBody/Alert/Data = 206\n"
            "agent:   ok   SyncBody/Alert/Text = Session Start\n"
            "agent: wrote HX17_2.xml (1 command, lock held 300 ms)\n"
            "agent: received hx17_3.XML (SessionID 17, MsgID 3: Status Add 201, Map Calendar)\n"
            "agent:   ok   one line ending CR LF\n"
            "agent:   ok   SyncHdr/SessionID = 17\n"
            "agent:   ok   SyncHdr/MsgID = 3 (as in the name)\n"
            "agent:   ok   count SyncBody/Status[Cmd=Add,Data=201] 1\n"
            "agent:   ok   SyncBody/Map/Calendar[Target=CAL-1]/Source = 1\n"
            "agent:   ok   none SyncBody/Replace\n"
            "agent: wrote XX9_4.xml (0 commands, lock held 0 ms)\n"
            "agent: wrote HX17_5.xml (raw, 1 line, lock held 0 ms)\n"
            "agent:   ok   XX9_4.xml taken\n"
            "agent:   ok   no further message within 300 ms\n"
            "agent: scenario round passed\n");
  EXPECT_TRUE(report.passed);
  EXPECT_EQ(report.received, 2);
  EXPECT_EQ(report.sent, 3);
  EXPECT_EQ(report.checks, 13);
  EXPECT_EQ(report.failures, 0);
  EXPECT_EQ(report.commands, (std::map<std::string, int>{
                                 {"Alert 206", 1}, {"Status Add 201", 1}, {"Map Calendar", 1}}));
}

TEST_F(AgentRunTest, FailedExpectationsAreListedAndTheRunGoesOn) {
  Start(
      "scenario failing\n"
      "timeout 5\n"
      "receive\n"
      "  expect SyncBody/Alert/Data = 206\n"
      "  expect count SyncBody/Alert 2\n"
      "  expect none SyncBody/Alert\n"
      "  expect SyncBody/Status/Data = 200\n"
      "  expect SyncBody/Alert/Text = Slow Sync\n"
      "end\n"
      "send\n"
      "end\n");
  WriteFileBytes(Up("HX17_1.xml"),
                 ComponentMessage("17", "1",
                                  "<Alert><CmdID>1</CmdID><Data>201</Data><Text>Slow Sync</Text>"
                                  "</Alert>"));
  EXPECT_EQ(Finish(), kRunFailed);
  EXPECT_EQ(transcript,
            "agent: received HX17_1.xml (SessionID 17, MsgID 1: Alert 201)\n"
            "agent:   ok   one line ending CR LF\n"
            "agent:   ok   SyncHdr/SessionID = 17 (as in the name)\n"
            "agent:   ok   SyncHdr/MsgID = 1 (as in the name)\n"
            "agent:   FAIL SyncBody/Alert/Data = 206: got \"201\"\n"
            "agent:   FAIL count SyncBody/Alert: expected 2, got 1\n"
            "agent:   FAIL none SyncBody/Alert: found 1\n"
            "agent:   FAIL SyncBody/Status/Data = 200: not found\n"
            "agent:   ok   SyncBody/Alert/Text = Slow Sync\n"
            "agent: wrote HX17_2.xml (0 commands, lock held 0 ms)\n"
            "agent: scenario failing failed (4 of 8 checks failed)\n");
  EXPECT_FALSE(report.passed);
  EXPECT_EQ(report.failures, 4);
  EXPECT_EQ(report.sent, 1);
}

TEST_F(AgentRunTest, AReceiveThatTimesOutEndsTheRun) {
  const auto start = std::chrono::steady_clock::now();
  Start("scenario late\ntimeout 1\nreceive\nend\nsend\nend\n");
  EXPECT_EQ(Finish(), kRunFailed);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(900));
  EXPECT_EQ(transcript,
            "agent: FAIL receive (line 3): no *_1.xml in the upload folder within 1 s\n"
            "agent: scenario late failed (1 of 1 checks failed)\n");
  EXPECT_TRUE(test::FolderEntries(options.download).empty());
  EXPECT_FALSE(report.passed);
}

TEST_F(AgentRunTest, ALaterReceiveWaitsForTheNextNumber) {
  Start("scenario next\ntimeout 1\nreceive\nend\nsend\nend\nreceive\nend\n");
  WriteFileBytes(Up("HX17_1.xml"), ComponentMessage("17", "1", kStart));
  ASSERT_TRUE(WaitForBytes(Down("HX17_2.xml")));
  WriteFileBytes(Up("HX17_4.xml"), ComponentMessage("17", "4", ""));  // not the next one
  EXPECT_EQ(Finish(), kRunFailed);
  EXPECT_NE(transcript.find("agent: FAIL receive (line 7): no HX17_3.xml in the upload folder "
                            "within 1 s\n"),
            std::string::npos)
      << transcript;
  EXPECT_TRUE(std::filesystem::exists(Up("HX17_4.xml")));
}

TEST_F(AgentRunTest, StopEndsTheRunAtItsNextWait) {
  std::atomic<bool> stop{false};
  options.stop = &stop;
  const auto start = std::chrono::steady_clock::now();
  Start("scenario halted\ntimeout 20\nreceive\nend\n");
  std::this_thread::sleep_for(std::chrono::milliseconds(150));
  stop = true;
  EXPECT_EQ(Finish(), kRunFailed);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
  EXPECT_EQ(transcript, "agent: stopped\nagent: scenario halted failed (1 of 1 checks failed)\n");
  EXPECT_FALSE(report.passed);
}

TEST_F(AgentRunTest, AHalfWrittenFileIsReadOnceComplete) {
  Start("scenario half\ntimeout 5\nreceive\nexpect SyncBody/Alert/Data = 206\nend\n");
  const std::string message = ComponentMessage("17", "1", kStart);
  // Each step comes well within the 300 ms after which a file that stopped
  // changing would be taken as it is.
  WriteFileBytes(Up("HX17_1.xml"), message.substr(0, message.size() / 2));
  std::this_thread::sleep_for(std::chrono::milliseconds(60));
  WriteFileBytes(Up("HX17_1.xml"), message.substr(0, message.size() - 2));  // no CR LF yet
  std::this_thread::sleep_for(std::chrono::milliseconds(60));
  WriteFileBytes(Up("HX17_1.xml"), message);
  EXPECT_EQ(Finish(), kRunPassed) << transcript;
  EXPECT_EQ(transcript.find("FAIL"), std::string::npos) << transcript;
}

TEST_F(AgentRunTest, AFileThatStaysIncompleteIsTakenAsItIs) {
  Start("scenario settled\ntimeout 5\nreceive\nexpect SyncBody/Alert/Data = 206\nend\n");
  std::string message = ComponentMessage("17", "1", kStart);
  message.erase(message.size() - 2, 1);  // a bare LF at the end
  WriteFileBytes(Up("HX17_1.xml"), message);
  EXPECT_EQ(Finish(), kRunFailed);
  EXPECT_NE(transcript.find("agent:   FAIL one line ending CR LF\n"), std::string::npos)
      << transcript;
  EXPECT_NE(transcript.find("agent:   ok   SyncBody/Alert/Data = 206\n"), std::string::npos);
  EXPECT_EQ(report.failures, 1);
}

TEST_F(AgentRunTest, AnUnreadableMessage) {
  Start(
      "scenario unreadable\ntimeout 5\nreceive\nexpect none SyncBody\nend\n"
      "send\n<Final/>\nend\n");
  WriteFileBytes(Up("HX17_1.xml"), "<?xml version=\"1.0\"?><SyncML><SyncHdr>\r\n");
  ASSERT_TRUE(WaitForBytes(Down("HX17_2.xml")));
  EXPECT_EQ(Finish(), kRunFailed);
  EXPECT_EQ(transcript,
            "agent: received HX17_1.xml (not readable: the document ends inside <SyncHdr>, "
            "line 2)\n"
            "agent:   ok   one line ending CR LF\n"
            "agent:   FAIL readable message: the document ends inside <SyncHdr>\n"
            "agent:   FAIL none SyncBody: the message is not readable\n"
            "agent: wrote HX17_2.xml (0 commands, lock held 0 ms)\n"
            "agent: scenario unreadable failed (2 of 3 checks failed)\n");
  // The session number then comes from the name.
  EXPECT_NE(ReadFileBytes(Down("HX17_2.xml")).find("<SessionID>17</SessionID><MsgID>2</MsgID>"),
            std::string::npos);
}

TEST_F(AgentRunTest, TextInTheCodePageIsReadAsUtf8) {
  Start("scenario umlaut\ntimeout 5\nreceive\nexpect SyncBody/Alert/Text = Weiß €\nend\n");
  WriteFileBytes(
      Up("HX17_1.xml"),
      ComponentMessage("17", "1", "<Alert><Data>206</Data><Text>Wei\xDF \x80</Text></Alert>"));
  EXPECT_EQ(Finish(), kRunPassed) << transcript;
}

TEST_F(AgentRunTest, TheHeaderMustMatchTheName) {
  Start("scenario header\ntimeout 5\nreceive\nend\nsend\nend\nreceive\nend\n");
  WriteFileBytes(Up("HX17_1.xml"), ComponentMessage("18", "2", kStart));
  ASSERT_TRUE(WaitForBytes(Down("HX17_2.xml")));
  WriteFileBytes(Up("HX17_3.xml"), ComponentMessage("19", "3", ""));
  EXPECT_EQ(Finish(), kRunFailed);
  EXPECT_NE(transcript.find("agent:   FAIL SyncHdr/SessionID = 18: does not match the name "
                            "HX17_1.xml\n"),
            std::string::npos)
      << transcript;
  EXPECT_NE(transcript.find("agent:   FAIL SyncHdr/MsgID = 1: got \"2\"\n"), std::string::npos);
  // The header's number (all digits) is taken as the session.
  EXPECT_NE(transcript.find("agent:   FAIL SyncHdr/SessionID = 18: got \"19\"\n"),
            std::string::npos);
}

TEST_F(AgentRunTest, APrefixEndingInDigits) {
  Start("scenario digits\ntimeout 5\nreceive\nend\nsend\nend\n");
  WriteFileBytes(Up("P217_1.xml"), ComponentMessage("17", "1", kStart));
  EXPECT_EQ(Finish(), kRunPassed) << transcript;
  EXPECT_TRUE(std::filesystem::exists(Down("P217_2.xml")));
}

TEST_F(AgentRunTest, ExpectTakenThatTimesOutIsAFailedCheckOnly) {
  Start(
      "scenario untaken\ntimeout 5\nreceive\nend\n"
      "send-raw X.xml\nend\nexpect-taken X.xml 200\nsend-raw Y.xml\nend\n");
  WriteFileBytes(Up("HX17_1.xml"), ComponentMessage("17", "1", kStart));
  EXPECT_EQ(Finish(), kRunFailed);
  EXPECT_NE(transcript.find("agent:   FAIL X.xml taken: still in the download folder after "
                            "200 ms\nagent: wrote Y.xml (raw, 0 lines, lock held 0 ms)\n"),
            std::string::npos)
      << transcript;
  EXPECT_EQ(ReadFileBytes(Down("X.xml")), "");
}

TEST_F(AgentRunTest, ExpectNoMessageSeesALaterMessage) {
  Start("scenario chatty\ntimeout 5\nreceive\nend\nsend\nend\nexpect-no-message 3000\n");
  WriteFileBytes(Up("HX17_1.xml"), ComponentMessage("17", "1", kStart));
  ASSERT_TRUE(WaitForBytes(Down("HX17_2.xml")));
  WriteFileBytes(Up("HX17_3.xml"), ComponentMessage("17", "3", ""));
  EXPECT_EQ(Finish(), kRunFailed);
  EXPECT_NE(transcript.find("agent:   FAIL no further message: the component wrote HX17_3.xml\n"),
            std::string::npos)
      << transcript;
}

TEST_F(AgentRunTest, MissingFolders) {
  options.upload = dir.File("nowhere");
  Start("scenario lost\nreceive\nend\n");
  EXPECT_EQ(Finish(), kRunFailed);
  EXPECT_EQ(transcript, "agent: FAIL the upload folder does not exist: " + dir.File("nowhere") +
                            "\nagent: scenario lost failed (1 of 1 checks failed)\n");
}

TEST_F(AgentRunTest, TwoRunsAtOnceKeepToThemselves) {
  test::TempDir other;
  AgentOptions second;
  second.upload = other.path();
  second.download = other.path();
  std::string error;
  const std::optional<Scenario> scenario =
      ParseScenario("scenario two\ntimeout 5\nreceive\nend\nsend\nend\n", error);
  ASSERT_TRUE(scenario.has_value());
  std::ostringstream second_out;
  int second_result = -1;
  std::thread runner([&] { second_result = RunScenario(*scenario, second, second_out); });
  Start("scenario one\ntimeout 5\nreceive\nend\nsend\nend\n");
  WriteFileBytes(Up("AA1_1.xml"), ComponentMessage("1", "1", kStart));
  WriteFileBytes(other.File("BB2_1.xml"), ComponentMessage("2", "1", kStart));
  runner.join();
  EXPECT_EQ(Finish(), kRunPassed) << transcript;
  EXPECT_EQ(second_result, kRunPassed) << second_out.str();
  EXPECT_TRUE(std::filesystem::exists(Down("AA1_2.xml")));
  EXPECT_TRUE(std::filesystem::exists(other.File("BB2_2.xml")));
}

}  // namespace
}  // namespace kdzv::agent
