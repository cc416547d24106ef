#include "platform/posix/libxml2_parser.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <libxml/globals.h>
#include <libxml/xmlerror.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>

#include "support/fakes.h"
#include "support/xml_parser_conformance.h"

namespace kdzv::posix {
namespace {

using test::XmlParserConformance;

std::unique_ptr<XmlParser> MakeLibxml2Parser() { return std::make_unique<Libxml2Parser>(); }

INSTANTIATE_TEST_SUITE_P(Libxml2Parser, XmlParserConformance,
                         ::testing::Values(test::XmlParserFactory{
                             "Libxml2Parser", &MakeLibxml2Parser, /*lax_namespaces=*/false}));

// The text in UCS-4, big-endian: an encoding libxml2 reads but in which the
// raw check does not look for a document type declaration.
std::string Ucs4(std::string_view ascii) {
  std::string out;
  for (char c : ascii) {
    out.append(3, '\0');
    out.push_back(c);
  }
  return out;
}

// Sends what is written to stderr (fd 2) into a file while it lives.
class CapturedStderr {
 public:
  explicit CapturedStderr(const std::string& path) : path_(path) {
    std::fflush(stderr);
    saved_ = ::dup(2);
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ::dup2(file, 2);
    ::close(file);
  }
  ~CapturedStderr() { Restore(); }
  // Ends the capture and answers what was written.
  std::string Text() {
    Restore();
    return test::ReadFileBytes(path_);
  }

 private:
  void Restore() {
    if (saved_ < 0) return;
    std::fflush(stderr);
    ::dup2(saved_, 2);
    ::close(saved_);
    saved_ = -1;
  }
  std::string path_;
  int saved_ = -1;
};

// A TCP listener on the loopback interface that tells whether anyone
// connected to it.
class Listener {
 public:
  Listener() {
    socket_ = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = 0;
    ::bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address);
    ::listen(socket_, 4);
    socklen_t length = sizeof address;
    ::getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &length);
    port_ = ntohs(address.sin_port);
  }
  ~Listener() { ::close(socket_); }
  int port() const { return port_; }
  bool Connected() {
    const int client = ::accept(socket_, nullptr, nullptr);
    if (client < 0) return false;
    ::close(client);
    return true;
  }

 private:
  int socket_ = -1;
  int port_ = 0;
};

// The bytes this process has read through read() and the like so far.
long long BytesRead() {
  std::ifstream io("/proc/self/io");
  std::string key;
  long long value = 0;
  while (io >> key >> value) {
    if (key == "rchar:") return value;
  }
  return -1;
}

TEST(Libxml2ParserTest, Ucs4IsRead) {
  Libxml2Parser parser;
  const auto root = parser.ParseBytes(Ucs4("<SyncML><Final>x</Final></SyncML>"));
  ASSERT_TRUE(root);
  EXPECT_EQ(test::DescribeTree(*root), "SyncML{\"\" @0:Final{\"x\"}}");
}

// A document type declaration that gets past the raw check still ends the
// parse: nothing of it is used and nothing it names is fetched.
TEST(Libxml2ParserTest, ADocumentTypeInUcs4IsRefusedWithoutFetchingAnything) {
  Listener listener;
  const std::string url = "http://127.0.0.1:" + std::to_string(listener.port());
  Libxml2Parser parser;
  EXPECT_FALSE(parser.ParseBytes(Ucs4("<!DOCTYPE SyncML SYSTEM \"" + url + "/a.dtd\"><SyncML/>")));
  EXPECT_FALSE(parser.ParseBytes(
      Ucs4("<!DOCTYPE SyncML [<!ENTITY e SYSTEM \"" + url + "/e.xml\">]><SyncML>&e;</SyncML>")));
  EXPECT_FALSE(parser.ParseBytes(Ucs4("<!DOCTYPE SyncML><SyncML/>")));
  EXPECT_FALSE(
      parser.ParseBytes(Ucs4("<!DOCTYPE SyncML [<!ENTITY e \"inner\">]><SyncML>&e;</SyncML>")));
  EXPECT_FALSE(listener.Connected());
}

TEST(Libxml2ParserTest, ExternalEntitiesConnectNowhere) {
  Listener listener;
  const std::string url = "http://127.0.0.1:" + std::to_string(listener.port());
  Libxml2Parser parser;
  EXPECT_FALSE(parser.ParseBytes("<!DOCTYPE SyncML SYSTEM \"" + url + "/a.dtd\"><SyncML/>"));
  EXPECT_FALSE(parser.ParseBytes("<!DOCTYPE SyncML [<!ENTITY e SYSTEM \"" + url +
                                 "/e.xml\">]><SyncML>&e;</SyncML>"));
  EXPECT_FALSE(listener.Connected());
}

TEST(Libxml2ParserTest, PrintsNothingOnStandardError) {
  test::TempDir dir;
  Libxml2Parser parser;
  CapturedStderr captured(dir.File("stderr.txt"));
  for (const std::string& path : test::MalformedCorpus()) {
    EXPECT_FALSE(parser.ParseFile(path)) << path;
  }
  EXPECT_FALSE(parser.ParseBytes(Ucs4("<!DOCTYPE a [<!ENTITY e \"x\">]><a>&e;</a>")));
  EXPECT_FALSE(parser.ParseBytes("<?xml version=\"1.0\" encoding=\"UTF-16\"?><a/>"));
  EXPECT_FALSE(parser.ParseBytes("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>\xE4"));
  // Windows-1252 is decoded by the parser's own table; another name of the
  // code page goes to libxml2's converter, which refuses an undefined byte
  // and reports that through the process-wide handler.
  EXPECT_FALSE(parser.ParseBytes("<?xml version=\"1.0\" encoding=\"cp1252\"?><a>\x81</a>"));
  EXPECT_EQ(captured.Text(), "");
}

int handler_calls = 0;
void CountingGenericError(void*, const char*, ...) { ++handler_calls; }
void CountingStructuredError(void*, xmlErrorPtr) { ++handler_calls; }

TEST(Libxml2ParserTest, PutsTheProcessErrorHandlersBack) {
  int context = 0;
  xmlSetGenericErrorFunc(&context, &CountingGenericError);
  xmlSetStructuredErrorFunc(&context, &CountingStructuredError);
  handler_calls = 0;
  Libxml2Parser parser;
  EXPECT_FALSE(parser.ParseBytes("<a>&undefined;</a>"));
  EXPECT_EQ(handler_calls, 0);
  EXPECT_TRUE(xmlGenericError == &CountingGenericError);
  EXPECT_EQ(xmlGenericErrorContext, &context);
  EXPECT_TRUE(xmlStructuredError == &CountingStructuredError);
  EXPECT_EQ(xmlStructuredErrorContext, &context);
  xmlSetGenericErrorFunc(nullptr, nullptr);
  xmlSetStructuredErrorFunc(nullptr, nullptr);
}

TEST(Libxml2ParserTest, ATooLargeFileIsNotRead) {
  test::TempDir dir;
  const std::string path = dir.File("HX1_2.xml");
  test::WriteFileBytes(path, "<SyncML/>");
  ASSERT_EQ(::truncate(path.c_str(), static_cast<off_t>(xml_limits::kMaxFileBytes + 1)), 0);
  Libxml2Parser parser;
  const long long before = BytesRead();
  ASSERT_GE(before, 0);
  EXPECT_FALSE(parser.ParseFile(path));
  EXPECT_LT(BytesRead() - before, 4096);
}

TEST(Libxml2ParserTest, AFifoIsRefusedWithoutWaiting) {
  test::TempDir dir;
  const std::string path = dir.File("HX1_2.xml");
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  Libxml2Parser parser;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(parser.ParseFile(path));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

}  // namespace
}  // namespace kdzv::posix
