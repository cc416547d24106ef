#include "platform/win32/msxml_parser.h"

#include <gtest/gtest.h>
#include <objbase.h>
#include <windows.h>

#include <memory>
#include <optional>
#include <thread>

#include "support/xml_parser_conformance.h"

namespace kdzv::win32 {
namespace {

using test::XmlParserConformance;

std::unique_ptr<XmlParser> MakeMsxmlParser() { return std::make_unique<MsxmlParser>(); }

// Wine's own DOM accepts documents that break the namespace rules (and
// drops an undeclared prefix from the element's name); Windows' MSXML
// refuses them.
bool RunningUnderWine() {
  const HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
  return ntdll != nullptr && ::GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

INSTANTIATE_TEST_SUITE_P(MsxmlParser, XmlParserConformance,
                         ::testing::Values(test::XmlParserFactory{"MsxmlParser", &MakeMsxmlParser,
                                                                  RunningUnderWine()}));

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

}  // namespace
}  // namespace kdzv::win32
