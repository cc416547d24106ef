#include "platform/win32/msxml_parser.h"

#include <gtest/gtest.h>
#include <objbase.h>
#include <windows.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

#include "support/fakes.h"
#include "support/xml_parser_conformance.h"

namespace kdzv::win32 {
namespace {

using test::XmlParserConformance;

std::unique_ptr<XmlParser> MakeMsxmlParser() { return std::make_unique<MsxmlParser>(); }

INSTANTIATE_TEST_SUITE_P(MsxmlParser, XmlParserConformance,
                         ::testing::Values(test::XmlParserFactory{"MsxmlParser", &MakeMsxmlParser,
                                                                  false}));

constexpr const char* kMessage = "<SyncML><SyncBody><Final/></SyncBody></SyncML>";

// Runs `body` on a thread of its own, so that what the test does to COM's
// state of the thread is not influenced by other tests.
template <typename Body>
void OnFreshThread(Body body) {
  std::thread thread(body);
  thread.join();
}

TEST(MsxmlParserTest, LeavesAThreadWithoutComAsItWas) {
  HRESULT after = E_FAIL;
  bool parsed = false;
  OnFreshThread([&] {
    parsed = MsxmlParser().ParseBytes(kMessage).has_value();
    // S_OK, not S_FALSE: the parser's initialisation was undone.
    after = ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    if (SUCCEEDED(after)) ::CoUninitialize();
  });
  EXPECT_TRUE(parsed);
  EXPECT_EQ(after, S_OK);
}

TEST(MsxmlParserTest, WorksInASingleThreadedApartment) {
  HRESULT after = E_FAIL;
  bool parsed = false;
  OnFreshThread([&] {
    if (FAILED(::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) return;
    parsed = MsxmlParser().ParseBytes(kMessage).has_value();
    ::CoUninitialize();
    // The thread's own initialisation was the only one left.
    after = ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    if (SUCCEEDED(after)) ::CoUninitialize();
  });
  EXPECT_TRUE(parsed);
  EXPECT_EQ(after, S_OK);
}

TEST(MsxmlParserTest, WorksInTheMultithreadedApartment) {
  HRESULT still = E_FAIL;
  bool parsed = false;
  OnFreshThread([&] {
    if (FAILED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED))) return;
    parsed = MsxmlParser().ParseBytes(kMessage).has_value();
    // Still in the multithreaded apartment.
    still = ::CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    if (SUCCEEDED(still)) ::CoUninitialize();
    ::CoUninitialize();
  });
  EXPECT_TRUE(parsed);
  EXPECT_EQ(still, S_FALSE);
}

TEST(MsxmlParserTest, ParsesRepeatedlyWithOneParser) {
  MsxmlParser parser;
  for (int i = 0; i < 20; ++i) {
    const std::optional<XmlElement> root = parser.ParseBytes(kMessage);
    ASSERT_TRUE(root) << i;
    EXPECT_EQ(test::DescribeTree(*root), "SyncML{\"\" @0:SyncBody{\"\" @0:Final{\"\"}}}");
    EXPECT_FALSE(parser.ParseBytes("<SyncML>"));
  }
}

// A start tag of `count` attributes.
std::string Tag(size_t count) {
  std::string tag = "<Final";
  for (size_t i = 0; i < count; ++i) tag += " a" + std::to_string(i) + "='1'";
  return tag + "/>";
}

// The raw check sees every chunk, not only the first: a crowded tag far
// into the file is refused as well.
TEST(MsxmlParserTest, ACrowdedTagBeyondTheFirstChunkIsRefused) {
  const std::string text(300 * 1024, 'x');
  MsxmlParser parser;
  const auto fits =
      parser.ParseBytes("<SyncML>" + text + Tag(xml_limits::kMaxAttributes) + "</SyncML>");
  ASSERT_TRUE(fits);
  EXPECT_EQ(fits->Children().size(), 1u);
  const std::string crowded =
      "<SyncML>" + text + Tag(xml_limits::kMaxAttributes + 1) + "</SyncML>";
  EXPECT_FALSE(parser.ParseBytes(crowded));
  test::TempDir dir;
  const std::string path = dir.File("HX1_2.xml");
  test::WriteFileBytes(path, crowded);
  EXPECT_FALSE(parser.ParseFile(path));
}

// Characters outside the basic plane arrive as surrogate pairs; a reader
// may cut its pieces of text between the two halves.
TEST(MsxmlParserTest, SurrogatePairsSurviveLongTexts) {
  constexpr size_t kCount = 100000;
  std::string utf16 = "\xFF\xFE";
  const auto put = [&utf16](char16_t c) {
    utf16.push_back(static_cast<char>(c & 0xFF));
    utf16.push_back(static_cast<char>(c >> 8));
  };
  for (const char c : std::string_view("<a>")) put(static_cast<char16_t>(c));
  for (size_t i = 0; i < kCount; ++i) {
    put(u'\xD83D');
    put(u'\xDE00');
    if (i % 7 == 0) put(u'b');
  }
  for (const char c : std::string_view("</a>")) put(static_cast<char16_t>(c));
  std::string expected;
  for (size_t i = 0; i < kCount; ++i) {
    expected += "\xF0\x9F\x98\x80";
    if (i % 7 == 0) expected += "b";
  }
  const auto root = MsxmlParser().ParseBytes(utf16);
  ASSERT_TRUE(root);
  EXPECT_EQ(root->Text(), expected);
}

// A sink that fails on the first element it is asked about.
class ThrowingSink : public XmlStreamSink {
 public:
  Take Open(std::string_view, size_t) override { throw std::runtime_error("sink failed"); }
  void Element(const XmlNode&, size_t) override {}
};

// No exception travels through the reader: the document counts as
// unreadable.
TEST(MsxmlParserTest, AnExceptionInsideTheReaderMakesTheDocumentUnreadable) {
  ThrowingSink sink;
  MsxmlParser parser;
  EXPECT_EQ(parser.ReadBytes(kMessage, sink), XmlReadResult::kUnreadable);
  test::TempDir dir;
  const std::string path = dir.File("HX1_2.xml");
  test::WriteFileBytes(path, kMessage);
  uint64_t bytes = 0;
  EXPECT_EQ(parser.ReadFile(path, sink, bytes), XmlReadResult::kUnreadable);
  EXPECT_EQ(bytes, std::string_view(kMessage).size());
  // The parser is still usable.
  EXPECT_TRUE(parser.ParseBytes(kMessage));
}

}  // namespace
}  // namespace kdzv::win32
