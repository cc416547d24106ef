// The contract of the XML parser port (message/xml_parser.h) as a
// value-parameterised test suite for every adapter, e.g.
//
//   INSTANTIATE_TEST_SUITE_P(Libxml2Parser, XmlParserConformance,
//                            ::testing::Values(XmlParserFactory{"Libxml2", &MakeLibxml2,
//                                                               false}));
//
// Every document is parsed twice, from memory and from a file, and both
// results must agree. Each test gets a fresh adapter and an empty TempDir.
#ifndef KDZV_TESTS_SUPPORT_XML_PARSER_CONFORMANCE_H_
#define KDZV_TESTS_SUPPORT_XML_PARSER_CONFORMANCE_H_

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "message/xml_parser.h"
#include "support/fakes.h"

namespace kdzv::test {

struct XmlParserFactory {
  const char* name;
  std::unique_ptr<XmlParser> (*make)();
  // Whether the parser accepts documents that are well-formed XML but break
  // the namespace rules (an undeclared prefix, a name with two colons, a
  // prefix bound to nothing). The tests of such documents (the files named
  // namespace_* in tests/data/malformed/) are then skipped.
  bool lax_namespaces;
};

inline void PrintTo(const XmlParserFactory& factory, std::ostream* out) { *out << factory.name; }

// The whole tree as one line: each element's name, its own text and, for
// each child, the offset in that text at which it stood. Two trees are the
// same when their descriptions are.
std::string DescribeTree(const XmlElement& element);

// The full paths of the files in tests/data/malformed/, sorted.
std::vector<std::string> MalformedCorpus();
// The full path of tests/data/malformed/`name`.
std::string MalformedFile(std::string_view name);

class XmlParserConformance : public ::testing::TestWithParam<XmlParserFactory> {
 protected:
  XmlParserConformance() : parser(GetParam().make()) {}

  // Parses `bytes` from memory and from a file; expects both to give the
  // same result and returns it.
  std::optional<XmlElement> Parse(std::string_view bytes);
  // Success when `bytes` is refused both from memory and from a file.
  ::testing::AssertionResult Rejected(std::string_view bytes);
  // Success when the file at `path` is refused both as a file and as bytes.
  ::testing::AssertionResult RejectedFile(const std::string& path);

  TempDir dir;
  std::unique_ptr<XmlParser> parser;
};

}  // namespace kdzv::test

#endif  // KDZV_TESTS_SUPPORT_XML_PARSER_CONFORMANCE_H_
