#include "agent/received_message.h"

#include <utility>

#include "agent/message_path.h"

namespace kdzv::agent {

namespace {

const XmlElement* FirstChild(const XmlElement& parent, std::string_view name) {
  for (const XmlElement& child : parent.Children()) {
    if (SameName(child.Name(), name)) return &child;
  }
  return nullptr;
}

std::string ChildText(const XmlElement& parent, std::string_view name) {
  const XmlElement* child = FirstChild(parent, name);
  return child == nullptr ? std::string() : child->Text();
}

MessagePath Filled(const MessagePath& path, const Placeholders& values) {
  MessagePath filled = path;
  for (PathSegment& segment : filled.segments) {
    for (PathFilter& filter : segment.filters) filter.text = FillPlaceholders(filter.text, values);
  }
  return filled;
}

}  // namespace

std::string CommandKey(const XmlElement& command) {
  if (SameName(command.Name(), "Status")) {
    return command.Name() + " " + ChildText(command, "Cmd") + " " + ChildText(command, "Data");
  }
  if (SameName(command.Name(), "Alert")) return command.Name() + " " + ChildText(command, "Data");
  for (const XmlElement& child : command.Children()) {
    if (!SameName(child.Name(), "CmdID")) return command.Name() + " " + child.Name();
  }
  return command.Name();
}

std::vector<std::string> CommandKeys(const XmlElement& root) {
  std::vector<std::string> keys;
  for (const XmlElement& part : root.Children()) {
    if (!SameName(part.Name(), "SyncBody")) continue;
    for (const XmlElement& command : part.Children()) keys.push_back(CommandKey(command));
  }
  return keys;
}

std::string SummarizeCommands(const std::vector<std::string>& keys) {
  if (keys.empty()) return "no commands";
  std::vector<std::pair<std::string, int>> counted;
  for (const std::string& key : keys) {
    bool found = false;
    for (auto& [seen, count] : counted) {
      if (seen == key) {
        ++count;
        found = true;
        break;
      }
    }
    if (!found) counted.emplace_back(key, 1);
  }
  std::string out;
  for (const auto& [key, count] : counted) {
    if (!out.empty()) out += ", ";
    out += key;
    if (count > 1) out += " x" + std::to_string(count);
  }
  return out;
}

std::string HeaderText(const XmlElement& root, std::string_view child) {
  const XmlElement* header = FirstChild(root, "SyncHdr");
  return header == nullptr ? std::string() : ChildText(*header, child);
}

CheckResult CheckExpectation(const Expectation& expectation, const XmlElement* root,
                             const Placeholders& values) {
  const MessagePath path = Filled(expectation.path, values);
  const std::string path_text = FormatMessagePath(path);
  CheckResult result;
  std::vector<const XmlElement*> found;
  if (root != nullptr) found = MatchMessagePath(*root, path);
  switch (expectation.kind) {
    case Expectation::Kind::kText: {
      const std::string expected = FillPlaceholders(expectation.text, values);
      result.text = path_text + " = " + expected;
      if (expected.empty()) result.text.pop_back();  // no blank after "="
      if (root == nullptr) {
        result.text += ": the message is not readable";
      } else if (found.empty()) {
        result.text += ": not found";
      } else if (found.front()->Text() != expected) {
        result.text += ": got \"" + found.front()->Text() + "\"";
      } else {
        result.ok = true;
      }
      break;
    }
    case Expectation::Kind::kCount:
      if (root == nullptr) {
        result.text = "count " + path_text + " " + std::to_string(expectation.count) +
                      ": the message is not readable";
      } else if (static_cast<int>(found.size()) != expectation.count) {
        result.text = "count " + path_text + ": expected " + std::to_string(expectation.count) +
                      ", got " + std::to_string(found.size());
      } else {
        result.text = "count " + path_text + " " + std::to_string(expectation.count);
        result.ok = true;
      }
      break;
    case Expectation::Kind::kNone:
      result.text = "none " + path_text;
      if (root == nullptr) {
        result.text += ": the message is not readable";
      } else if (!found.empty()) {
        result.text += ": found " + std::to_string(found.size());
      } else {
        result.ok = true;
      }
      break;
  }
  return result;
}

}  // namespace kdzv::agent
