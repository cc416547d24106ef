// The element tree of a message: what the message reader walks and what the
// message items build for the writer. Only elements and their character data
// are kept; comments, processing instructions and attributes are not part of
// a message.
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

class XmlElement;

// Takes the children of a streamed element (see XmlElement::StreamChildren)
// once they are complete.
class XmlChildStream {
 public:
  virtual ~XmlChildStream() = default;
  virtual void Take(XmlElement child) = 0;
};

class XmlElement {
 public:
  // The children of an element: a list that grows in small blocks (never by
  // moving everything into a buffer of twice the size) and keeps every
  // element where it was put; for a streamed element, where its children
  // go once complete.
  struct ChildList : std::deque<XmlElement> {
    XmlChildStream* stream = nullptr;
  };

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

  // From now on, appending a child first hands every child appended before
  // it to `stream` (they are complete: children are filled in document
  // order) and lets go of it. A message being written thus holds one
  // command's elements at a time. References to earlier children become
  // invalid when the next child is appended.
  void StreamChildren(XmlChildStream& stream);
  // Hands the children still held to the stream.
  void FlushChildren();

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

// Creates the elements of a message being written. Creating an element can
// fail (raise kdzv::Error) like any call into a document library; a test
// document uses that to make one element fail.
class XmlDocument {
 public:
  virtual ~XmlDocument() = default;

  virtual XmlElement CreateElement(std::string_view name);

  // The root element; empty name until SetDocumentElement.
  XmlElement& DocumentElement() { return root_; }
  const XmlElement& DocumentElement() const { return root_; }
  XmlElement& SetDocumentElement(XmlElement root);

 private:
  XmlElement root_;
};

// Appends to `parent` an element `name` (created by `document`) holding
// `text` and returns it.
XmlElement& AppendTextElement(XmlDocument& document, XmlElement& parent, std::string_view name,
                              std::string text);

// One line of markup for `element` and everything below it: no prolog, no
// indentation, no line breaks added; an element without content written as
// <Name/>; "&", "<" and ">" in character data escaped.
std::string SerializeXml(const XmlElement& element);

// The same markup, appended to `out`.
void AppendXml(std::string& out, const XmlElement& element);

}  // namespace kdzv

#endif  // KDZV_MESSAGE_XML_ELEMENT_H_
