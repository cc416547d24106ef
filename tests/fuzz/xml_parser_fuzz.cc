// Feeds arbitrary bytes to the Linux XML parser adapter. A document it
// accepts is serialised again and the text of every element collected, so
// the sanitizers see the whole tree; a tree beyond the parser's limits is a
// crash.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "message/xml_element.h"
#include "message/xml_parser.h"
#include "platform/posix/libxml2_parser.h"

namespace {

// The size of all texts below `element`; aborts when a limit is broken.
size_t Walk(const kdzv::XmlElement& element, size_t depth) {
  if (depth > kdzv::xml_limits::kMaxDepth) std::abort();
  if (element.OwnText().size() > kdzv::xml_limits::kMaxTextBytes) std::abort();
  if (element.Name().empty()) std::abort();
  size_t total = element.Text().size();
  for (const kdzv::XmlElement& child : element.Children()) {
    if (child.TextOffset() > element.OwnText().size()) std::abort();
    total += Walk(child, depth + 1);
  }
  return total;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static kdzv::posix::Libxml2Parser parser;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const std::optional<kdzv::XmlElement> root = parser.ParseBytes(bytes);
  if (!root) return 0;
  const std::string markup = kdzv::SerializeXml(*root);
  if (markup.size() < root->Name().size() + 3 || markup[0] != '<') std::abort();
  Walk(*root, 1);
  return 0;
}
