// TestDownFile: the interface object's diagnostic entry that reads one
// download file with a fresh message reader, outside any exchange. What the
// reader finds wrong goes to the log and to message boxes as during an
// exchange; nothing else happens (no event, no answer, the file stays).
#ifndef KDZV_EXCHANGE_TEST_DOWN_FILE_H_
#define KDZV_EXCHANGE_TEST_DOWN_FILE_H_

#include <string>
#include <string_view>

#include "interface/file_system.h"
#include "message/xml_parser.h"

namespace kdzv {

// Returns whether the reader could read the file (the host's method itself
// returns nothing).
bool TestDownFile(std::string_view strFile, XmlParser& parser, FileSystem& file_system,
                  const std::string& service_host);

}  // namespace kdzv

#endif  // KDZV_EXCHANGE_TEST_DOWN_FILE_H_
