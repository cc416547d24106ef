// The XML parser port on Windows: the SAX2 reader of the system's XML
// library (MSXML 3.0) reads the document from a stream that hands it the
// file in 64 KiB chunks, each checked by RawMessageCheck first, and its
// events go into the shared tree builder. No tree of the whole document and
// no copy of the whole file is ever made.
#ifndef KDZV_PLATFORM_WIN32_MSXML_PARSER_H_
#define KDZV_PLATFORM_WIN32_MSXML_PARSER_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "message/xml_parser.h"

namespace kdzv::win32 {

// Initialises COM on the calling thread for the duration of a call when it
// is not initialised yet. Raises kdzv::Error 429 when the SAX reader cannot
// be created (COM or MSXML 3.0 missing): that is a broken installation, not
// a bad file.
class MsxmlParser : public XmlParser {
 public:
  XmlReadResult ReadFile(const std::string& path, XmlStreamSink& sink,
                         uint64_t& file_bytes) override;
  XmlReadResult ReadBytes(std::string_view bytes, XmlStreamSink& sink) override;
};

}  // namespace kdzv::win32

#endif  // KDZV_PLATFORM_WIN32_MSXML_PARSER_H_
