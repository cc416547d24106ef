#include "agent/message_path.h"

namespace kdzv::agent {

namespace {

char Lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

std::string_view Trim(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

// A name may hold anything but the characters that structure a path.
bool IsNameChar(char c) {
  return c != '/' && c != '[' && c != ']' && c != '=' && c != ',' && c != ' ' && c != '\t';
}

bool ValidName(std::string_view name) {
  if (name.empty()) return false;
  for (char c : name) {
    if (!IsNameChar(c)) return false;
  }
  return true;
}

// Parses "Child=Text,Child2=Text" (the part between the brackets).
bool ParseFilters(std::string_view text, std::vector<PathFilter>& filters, std::string& error) {
  while (true) {
    const size_t comma = text.find(',');
    const std::string_view part = text.substr(0, comma);
    const size_t equals = part.find('=');
    if (equals == std::string_view::npos) {
      error = "a filter needs \"=\" (Name[Child=Text])";
      return false;
    }
    const std::string_view child = Trim(part.substr(0, equals));
    if (!ValidName(child)) {
      error = "a filter needs a child name before \"=\"";
      return false;
    }
    filters.push_back(PathFilter{std::string(child), std::string(Trim(part.substr(equals + 1)))});
    if (comma == std::string_view::npos) return true;
    text.remove_prefix(comma + 1);
  }
}

bool Matches(const XmlElement& element, const PathSegment& segment) {
  if (!SameName(element.Name(), segment.name)) return false;
  for (const PathFilter& filter : segment.filters) {
    bool found = false;
    for (const XmlElement& child : element.Children()) {
      if (SameName(child.Name(), filter.child) && child.Text() == filter.text) {
        found = true;
        break;
      }
    }
    if (!found) return false;
  }
  return true;
}

void Collect(const XmlElement& parent, const MessagePath& path, size_t depth,
             std::vector<const XmlElement*>& out) {
  const PathSegment& segment = path.segments[depth];
  for (const XmlElement& child : parent.Children()) {
    if (!Matches(child, segment)) continue;
    if (depth + 1 == path.segments.size()) {
      out.push_back(&child);
    } else {
      Collect(child, path, depth + 1, out);
    }
  }
}

}  // namespace

bool SameName(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (Lower(a[i]) != Lower(b[i])) return false;
  }
  return true;
}

std::optional<MessagePath> ParseMessagePath(std::string_view text, std::string& error) {
  MessagePath path;
  if (text.empty()) {
    error = "the path is empty";
    return std::nullopt;
  }
  size_t i = 0;
  while (true) {
    PathSegment segment;
    const size_t start = i;
    while (i < text.size() && IsNameChar(text[i])) ++i;
    segment.name = std::string(text.substr(start, i - start));
    if (segment.name.empty()) {
      error = "an element name is missing in \"" + std::string(text) + "\"";
      return std::nullopt;
    }
    if (i < text.size() && text[i] == '[') {
      const size_t close = text.find(']', i);
      if (close == std::string_view::npos) {
        error = "\"[\" without \"]\" in \"" + std::string(text) + "\"";
        return std::nullopt;
      }
      if (!ParseFilters(text.substr(i + 1, close - i - 1), segment.filters, error)) {
        return std::nullopt;
      }
      i = close + 1;
    }
    path.segments.push_back(std::move(segment));
    if (i == text.size()) return path;
    if (text[i] != '/') {
      error = "unexpected \"" + std::string(1, text[i]) + "\" in \"" + std::string(text) + "\"";
      return std::nullopt;
    }
    ++i;
  }
}

std::string FormatMessagePath(const MessagePath& path) {
  std::string out;
  for (size_t s = 0; s < path.segments.size(); ++s) {
    const PathSegment& segment = path.segments[s];
    if (s > 0) out += '/';
    out += segment.name;
    if (segment.filters.empty()) continue;
    out += '[';
    for (size_t f = 0; f < segment.filters.size(); ++f) {
      if (f > 0) out += ',';
      out += segment.filters[f].child + "=" + segment.filters[f].text;
    }
    out += ']';
  }
  return out;
}

std::vector<const XmlElement*> MatchMessagePath(const XmlElement& root, const MessagePath& path) {
  std::vector<const XmlElement*> out;
  if (!path.segments.empty()) Collect(root, path, 0, out);
  return out;
}

}  // namespace kdzv::agent
