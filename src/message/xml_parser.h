// The XML parser port: turns a message file into the element tree of
// message/xml_element.h. One adapter per platform (libxml2 on Linux, the
// system's DOM on Windows); both build the tree through XmlTreeBuilder and
// check the raw bytes with CheckRawMessage first, so the two accept and
// reject exactly the same documents.
//
// A message file comes from another program, never from the network, but it
// is still treated as untrusted input: a document type declaration is
// refused (so no entity beyond the predefined ones and character references
// is ever expanded, and no external resource is ever opened), and the size
// limits below bound the work and the memory one file can cause.
#ifndef KDZV_MESSAGE_XML_PARSER_H_
#define KDZV_MESSAGE_XML_PARSER_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "message/xml_element.h"

namespace kdzv {

namespace xml_limits {
// The largest message file that is read at all. Reading takes at its peak
// up to about 22 times a file's size (a file of nothing but empty elements:
// 4 bytes each, a tree element of 80 bytes each), an ordinary message about
// 10 times: 16 MiB keeps the worst case near 370 MB, which a 32-bit host
// process can give, and holds some 16 000 appointments with customer,
// calendar and attributes.
inline constexpr size_t kMaxFileBytes = size_t{16} * 1024 * 1024;
// The deepest nesting of elements (the document element is level 1). A
// message needs 6 levels (SyncML, SyncBody, Add, VEvent, Attribute, Value).
inline constexpr size_t kMaxDepth = 32;
// The most character data one element may hold directly.
inline constexpr size_t kMaxTextBytes = size_t{1024} * 1024;
// The most attributes (namespace declarations included) one start tag may
// carry. A message uses attributes only for its namespace; a parser checks
// a tag's attributes against each other, which costs the square of their
// number, so a file beyond this is refused before any parser sees it.
inline constexpr size_t kMaxAttributes = 64;
}  // namespace xml_limits

class XmlParser {
 public:
  virtual ~XmlParser() = default;

  // Reads the whole file at `path` synchronously. The document element, or
  // nothing when the file cannot be read, is not well-formed XML, declares a
  // document type, or exceeds a limit.
  virtual std::optional<XmlElement> ParseFile(const std::string& path) = 0;

  // The same for a document held in memory (the bytes of a file).
  virtual std::optional<XmlElement> ParseBytes(std::string_view bytes) = 0;
};

// Whether the raw bytes of a file may be handed to a parser at all: not
// larger than kMaxFileBytes, without a document type declaration, in
// whichever of the encodings an XML file can be written ("<!DOCTYPE" as
// single bytes, UTF-8, or UTF-16 in either byte order), and with no start
// tag of more than kMaxAttributes attributes (counted as the "=" signs
// outside quotes between "<" and ">"; in UTF-16 the same bytes stand for
// them). One pass over the bytes.
bool CheckRawMessage(std::string_view bytes);

// Builds the element tree from the events of a streaming parser and
// enforces the depth and text limits. The adapters feed it names and
// character data as UTF-8.
class XmlTreeBuilder {
 public:
  // False when the element would exceed the depth limit.
  bool StartElement(std::string_view name);
  // False when the character data of the open element exceeds its limit.
  // Character data outside the document element is ignored.
  bool Characters(std::string_view text);
  void EndElement();

  // The document element once it has been closed.
  std::optional<XmlElement> Finish();

 private:
  std::vector<XmlElement> open_;  // the open elements, outermost first
  std::optional<XmlElement> root_;
};

}  // namespace kdzv

#endif  // KDZV_MESSAGE_XML_PARSER_H_
