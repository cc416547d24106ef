// Paths into a received message, as the expectations of a scenario name
// them: element names from the root SyncML down, separated by "/", matched
// without regard to letter case. A segment may carry filters that keep only
// the elements whose direct child of that name holds the given text:
//
//   SyncBody/Status[Cmd=Add,Data=201]/CmdRef
//
// The text compared is the child's trimmed deep text; a filter text runs to
// the next "," or "]" and is trimmed, so it can hold blanks but neither of
// those two characters.
#ifndef KDZV_AGENT_MESSAGE_PATH_H_
#define KDZV_AGENT_MESSAGE_PATH_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "message/xml_element.h"

namespace kdzv::agent {

struct PathFilter {
  std::string child;  // the direct child's name
  std::string text;   // its expected trimmed text (may be empty)
};

struct PathSegment {
  std::string name;
  std::vector<PathFilter> filters;  // all must hold
};

struct MessagePath {
  std::vector<PathSegment> segments;  // at least one
};

// Parses `text` (no blanks outside the brackets). On failure returns nothing
// and sets `error` to a short reason.
std::optional<MessagePath> ParseMessagePath(std::string_view text, std::string& error);

// The path written back in its canonical form ("A/B[C=x,D=y]").
std::string FormatMessagePath(const MessagePath& path);

// Every element that `path` reaches from `root` (the root's children are
// matched against the first segment), in document order.
std::vector<const XmlElement*> MatchMessagePath(const XmlElement& root, const MessagePath& path);

// Whether two element names are the same without regard to ASCII case.
bool SameName(std::string_view a, std::string_view b);

}  // namespace kdzv::agent

#endif  // KDZV_AGENT_MESSAGE_PATH_H_
