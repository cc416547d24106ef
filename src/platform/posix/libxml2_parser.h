// The XML parser port on Linux: libxml2's streaming (SAX2) interface, fed
// the file in chunks, drives the shared tree builder, so no libxml2 document
// is ever built, the file is never held whole, and nothing beyond the
// elements and their character data is looked at.
#ifndef KDZV_PLATFORM_POSIX_LIBXML2_PARSER_H_
#define KDZV_PLATFORM_POSIX_LIBXML2_PARSER_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "message/xml_parser.h"

namespace kdzv::posix {

// Never uses the network, never loads or expands a document type
// definition, prints nothing to stderr. Not thread-safe: libxml2's error
// handlers are swapped for the duration of a parse.
class Libxml2Parser : public XmlParser {
 public:
  Libxml2Parser();

  XmlReadResult ReadFile(const std::string& path, XmlStreamSink& sink,
                         uint64_t& file_bytes) override;
  XmlReadResult ReadBytes(std::string_view bytes, XmlStreamSink& sink) override;
};

}  // namespace kdzv::posix

#endif  // KDZV_PLATFORM_POSIX_LIBXML2_PARSER_H_
