#include "message/xml_parser.h"

#include <utility>

namespace kdzv {

namespace {

bool ContainsWide(std::string_view bytes, std::string_view ascii, bool big_endian) {
  std::string wide;
  wide.reserve(ascii.size() * 2);
  for (char c : ascii) {
    if (big_endian) wide.push_back('\0');
    wide.push_back(c);
    if (!big_endian) wide.push_back('\0');
  }
  return bytes.find(wide) != std::string_view::npos;
}

}  // namespace

bool CheckRawMessage(std::string_view bytes) {
  if (bytes.size() > xml_limits::kMaxFileBytes) return false;
  constexpr std::string_view kDoctype = "<!DOCTYPE";
  if (bytes.find(kDoctype) != std::string_view::npos) return false;
  if (ContainsWide(bytes, kDoctype, false) || ContainsWide(bytes, kDoctype, true)) return false;
  return true;
}

bool XmlTreeBuilder::StartElement(std::string_view name) {
  if (root_ || open_.size() >= xml_limits::kMaxDepth) return false;
  open_.emplace_back(std::string(name));
  return true;
}

bool XmlTreeBuilder::Characters(std::string_view text) {
  if (open_.empty()) return true;
  XmlElement& current = open_.back();
  if (current.OwnText().size() + text.size() > xml_limits::kMaxTextBytes) return false;
  current.AppendText(text);
  return true;
}

void XmlTreeBuilder::EndElement() {
  if (open_.empty()) return;
  XmlElement done = std::move(open_.back());
  open_.pop_back();
  // A finished element gets no more children: give back what the growing
  // list reserved (up to half of it), which for a message of many
  // appointments is a good part of the tree's memory.
  std::vector<XmlElement>& children = done.Children();
  if (children.capacity() > children.size()) children.shrink_to_fit();
  if (open_.empty()) {
    root_ = std::move(done);
  } else {
    open_.back().AppendChild(std::move(done));
  }
}

std::optional<XmlElement> XmlTreeBuilder::Finish() {
  if (!open_.empty()) return std::nullopt;
  return std::move(root_);
}

}  // namespace kdzv
