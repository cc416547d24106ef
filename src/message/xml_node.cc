#include "message/xml_node.h"

#include "message/xml_parser.h"

namespace kdzv {

namespace {

// A file of at most kMaxFileBytes decodes to at most 1.5 times as many
// bytes of UTF-8 (a two-byte code unit of UTF-16 to three bytes), so every
// offset into a tree's buffers fits 32 bits.
static_assert(xml_limits::kMaxFileBytes / 2 * 3 < UINT32_MAX);

}  // namespace

// ---------------------------------------------------------------------------
// XmlNode

size_t XmlNode::ChildRange::size() const {
  size_t count = 0;
  for (uint32_t i = first_; i != XmlNodeTree::kNone; i = tree_->nodes_[i].next_sibling) ++count;
  return count;
}

XmlElement XmlNode::ToElement() const {
  const XmlNodeTree::Node& node = tree_->nodes_[index_];
  const std::string_view text(tree_->text_);
  XmlElement element{std::string(Name())};
  uint32_t used = node.text_begin;
  for (XmlNode child : Children()) {
    const XmlNodeTree::Node& child_node = tree_->nodes_[child.index_];
    element.AppendText(text.substr(used, child_node.text_begin - used));
    element.AppendChild(child.ToElement());
    used = child_node.text_end;
  }
  element.AppendText(text.substr(used, node.text_end - used));
  return element;
}

// ---------------------------------------------------------------------------
// XmlNodeTree

void XmlNodeTree::Open(std::string_view name) {
  const auto index = static_cast<uint32_t>(nodes_.size());
  const auto text_at = static_cast<uint32_t>(text_.size());
  nodes_.push_back(Node{static_cast<uint32_t>(names_.size()), static_cast<uint32_t>(name.size()),
                        text_at, text_at, kNone, kNone});
  names_.append(name);
  if (!open_.empty()) {
    OpenElement& parent = open_.back();
    if (parent.last_child == kNone) {
      nodes_[parent.index].first_child = index;
    } else {
      nodes_[parent.last_child].next_sibling = index;
    }
    parent.last_child = index;
  }
  open_.push_back(OpenElement{index, kNone});
}

void XmlNodeTree::Close() {
  if (open_.empty()) return;
  nodes_[open_.back().index].text_end = static_cast<uint32_t>(text_.size());
  open_.pop_back();
}

void XmlNodeTree::Clear() {
  nodes_.clear();
  open_.clear();
  names_.clear();
  text_.clear();
}

XmlNodeTree XmlNodeTree::Of(const XmlElement& element) {
  XmlNodeTree tree;
  tree.Add(element);
  return tree;
}

void XmlNodeTree::Add(const XmlElement& element) {
  Open(element.Name());
  element.ForEachContent([this](std::string_view text) { Append(text); },
                         [this](const XmlElement& child) { Add(child); });
  Close();
}

}  // namespace kdzv
