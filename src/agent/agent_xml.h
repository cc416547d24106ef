// The agent's own reader of XML text. The agent runs on a thread of its own
// beside the component, so it does not share the component's parser (whose
// library state is per process); it needs no more than this: elements,
// attributes (skipped), character data, the predefined entities, character
// references, CDATA sections, comments and processing instructions.
// A document type declaration is refused.
#ifndef KDZV_AGENT_AGENT_XML_H_
#define KDZV_AGENT_AGENT_XML_H_

#include <optional>
#include <string>
#include <string_view>

#include "message/xml_element.h"

namespace kdzv::agent {

struct XmlProblem {
  std::string reason;  // e.g. "the document ends inside <SyncBody>"
  int line = 1;        // counted from 1 at each line feed
};

// Parses `utf8` (the encoding named in a declaration is not looked at; a
// UTF-8 byte order mark is skipped). The document element, or nothing with
// `problem` set when the text is not a complete, well-formed document.
std::optional<XmlElement> ParseAgentXml(std::string_view utf8, XmlProblem& problem);

}  // namespace kdzv::agent

#endif  // KDZV_AGENT_AGENT_XML_H_
