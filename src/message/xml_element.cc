#include "message/xml_element.h"

#include <utility>
#include <vector>

#include "message/xml_writer.h"

namespace kdzv {

namespace {

bool IsXmlSpace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

void Serialize(const XmlElement& element, std::string& out) {
  out.push_back('<');
  out.append(element.Name());
  if (element.Children().empty() && element.OwnText().empty()) {
    out.append("/>");
    return;
  }
  out.push_back('>');
  element.ForEachContent([&out](std::string_view text) { AppendEscapedXmlText(out, text); },
                         [&out](const XmlElement& child) { Serialize(child, out); });
  out.append("</");
  out.append(element.Name());
  out.push_back('>');
}

}  // namespace

std::string XmlElement::Text() const {
  std::string all;
  CollectText(all);
  size_t begin = 0;
  size_t end = all.size();
  while (begin < end && IsXmlSpace(all[begin])) ++begin;
  while (end > begin && IsXmlSpace(all[end - 1])) --end;
  if (begin == 0 && end == all.size()) return all;
  return all.substr(begin, end - begin);
}

void XmlElement::CollectText(std::string& out) const {
  ForEachContent([&out](std::string_view text) { out.append(text); },
                 [&out](const XmlElement& child) { child.CollectText(out); });
}

XmlElement::XmlElement(const XmlElement& other)
    : name_(other.name_),
      text_(other.text_),
      children_(other.children_ ? std::make_unique<ChildList>(*other.children_) : nullptr),
      text_offset_(other.text_offset_) {}

XmlElement& XmlElement::operator=(const XmlElement& other) {
  if (this != &other) *this = XmlElement(other);
  return *this;
}

// A deep tree is taken apart level by level, so that freeing it never needs
// a stack as deep as the tree. The list of levels is itself memory: when
// there is none for it, what is left is freed the plain way (each level
// inside its parent's), never with an exception out of a destructor.
XmlElement::~XmlElement() {
  if (!children_) return;
  try {
    std::vector<std::unique_ptr<ChildList>> pending;
    pending.push_back(std::move(children_));
    while (!pending.empty()) {
      std::unique_ptr<ChildList> list = std::move(pending.back());
      pending.pop_back();
      for (XmlElement& child : *list) {
        if (child.children_) pending.push_back(std::move(child.children_));
      }
    }
  } catch (...) {
    // Everything already in hand was freed as the lists went out of scope;
    // children_, if still held, goes with this element.
  }
}

const XmlElement::ChildList& XmlElement::Children() const {
  static const ChildList kNone;
  return children_ ? *children_ : kNone;
}

XmlElement::ChildList& XmlElement::Children() {
  if (!children_) children_ = std::make_unique<ChildList>();
  return *children_;
}

XmlElement& XmlElement::AppendChild(XmlElement child) {
  child.text_offset_ = text_.size();
  ChildList& children = Children();
  children.push_back(std::move(child));
  return children.back();
}

std::string SerializeXml(const XmlElement& element) {
  std::string out;
  Serialize(element, out);
  return out;
}

}  // namespace kdzv
