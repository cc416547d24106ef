// The element tree of a whole document, for the callers that want one (the
// agent, tests, tools). Only elements and their character data are kept;
// comments, processing instructions and attributes are not part of a
// message.
//
// A parsed element keeps its character data and, for every child element,
// the point in that data at which the child stood, so Text() gives all
// character data below the element in document order.
#ifndef KDZV_MESSAGE_XML_ELEMENT_H_
#define KDZV_MESSAGE_XML_ELEMENT_H_

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kdzv {

class XmlElement {
 public:
  // The children of an element: a list that grows in small blocks (never by
  // moving everything into a buffer of twice the size) and keeps every
  // element where it was put.
  using ChildList = std::deque<XmlElement>;

  XmlElement() = default;
  explicit XmlElement(std::string name) : name_(std::move(name)) {}
  XmlElement(const XmlElement& other);
  XmlElement& operator=(const XmlElement& other);
  XmlElement(XmlElement&&) noexcept = default;
  XmlElement& operator=(XmlElement&&) noexcept = default;
  ~XmlElement();

  const std::string& Name() const { return name_; }

  // All character data below this element (its own and that of every
  // descendant, in document order) with leading and trailing white space
  // (blank, tab, CR, LF) removed.
  std::string Text() const;

  // The element's own character data, untrimmed and without that of its
  // children.
  const std::string& OwnText() const { return text_; }

  // Replaces the element's own character data.
  void SetText(std::string text) { text_ = std::move(text); }
  // Appends character data after everything appended so far.
  void AppendText(std::string_view text) { text_.append(text); }

  // Appends `child` after the existing children and returns the stored
  // element, which stays where it is while more children are appended.
  XmlElement& AppendChild(XmlElement child);

  // The children in document order (an empty list for an element without).
  const ChildList& Children() const;
  ChildList& Children();
  // How much of the parent's own text came before this element.
  size_t TextOffset() const { return text_offset_; }

  // The element's content in document order: `text(std::string_view)` for
  // each run of its own character data, `child(const XmlElement&)` for each
  // child where it stood in that data.
  template <class Text, class Child>
  void ForEachContent(Text&& text, Child&& child) const {
    const std::string_view own(text_);
    size_t used = 0;
    for (const XmlElement& element : Children()) {
      const size_t upto = element.text_offset_ < own.size() ? element.text_offset_ : own.size();
      if (upto > used) {
        text(own.substr(used, upto - used));
        used = upto;
      }
      child(element);
    }
    if (used < own.size()) text(own.substr(used));
  }

 private:
  void CollectText(std::string& out) const;

  std::string name_;
  std::string text_;
  // Made with the first child: most elements of a message have none, and an
  // empty list of this kind would already take a block of its own.
  std::unique_ptr<ChildList> children_;
  size_t text_offset_ = 0;
};

// One line of markup for `element` and everything below it: no prolog, no
// indentation, no line breaks added; an element without content written as
// <Name/>; "&", "<" and ">" in character data escaped.
std::string SerializeXml(const XmlElement& element);

}  // namespace kdzv

#endif  // KDZV_MESSAGE_XML_ELEMENT_H_
