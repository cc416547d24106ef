// Reading an item from the events of its element, one child at a time,
// without a tree: what the message reader does for every add, replace and
// delete command, the bulk of a large message.
//
// An ElementReader is told about each child of its element as it starts and
// says how the child is read: by another reader, for its text alone, or not
// at all. A child read for its text gets all character data below it, in
// document order, with leading and trailing white space (blank, tab, CR, LF)
// removed: the same text as XmlNode::Text(). A reader's own character data
// is not read.
//
// ReadElement gives a reader the children of an element already built as a
// tree, so that an item has one reader for both ways.
#ifndef KDZV_MESSAGE_ELEMENT_READER_H_
#define KDZV_MESSAGE_ELEMENT_READER_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "message/xml_node.h"
#include "util/text.h"

namespace kdzv {

class ElementReader {
 public:
  // How a child element is read.
  struct Take {
    enum class Way : uint8_t { kSkip, kText, kReader };
    Way way = Way::kSkip;
    ElementReader* reader = nullptr;
    std::string* field = nullptr;
  };
  // Not at all: neither the child nor anything below it.
  static Take Skip() { return Take{}; }
  // For its text, which TextOfChild() gets at the child's end.
  static Take AsText() { return Take{Take::Way::kText, nullptr, nullptr}; }
  // For its text, which is put into `field` (TextOfChild() is not called).
  static Take AsTextInto(std::string& field) { return Take{Take::Way::kText, nullptr, &field}; }
  // By `reader`; ChildRead() gets its End()'s answer at the child's end.
  static Take By(ElementReader& reader) { return Take{Take::Way::kReader, &reader, nullptr}; }

  // A child element named `name` starts.
  virtual Take Child(std::string_view name) = 0;
  // The child last taken AsText() has ended: its text.
  virtual void TextOfChild(std::string_view /*text*/) {}
  // The child last taken By() a reader has ended: whether it was read.
  virtual void ChildRead(bool /*read*/) {}
  // The element ends: whether it was read.
  virtual bool End() = 0;

 protected:
  ~ElementReader() = default;
};

// Gives `reader` every child of `element` as the streamed events would, then
// ends it; answers End().
bool ReadElement(const XmlNode& element, ElementReader& reader);

// Drives the readers of one element from the events of a parser (for
// XmlTreeBuilder): Begin() with the element's reader after its start, then
// Open(), Characters() and Close() for everything inside it, and Close() for
// its own end.
class ElementReading {
 public:
  void Begin(ElementReader& reader);

  // A child of the element open now starts: whether its events are wanted
  // (false: it and everything below it may be passed over).
  bool Open(std::string_view name) {
    if (text_depth_ > 0) {
      ++text_depth_;
      return true;
    }
    const ElementReader::Take take = frames_.back()->Child(name);
    if (take.way == ElementReader::Take::Way::kText) {
      // The text goes straight into the field, or into text_ for the reader.
      text_depth_ = 1;
      text_to_ = take.field == nullptr ? &text_ : take.field;
      text_to_->clear();
      return true;
    }
    if (take.way == ElementReader::Take::Way::kReader) {
      frames_.push_back(take.reader);
      return true;
    }
    return false;
  }
  void Characters(std::string_view text) {
    if (text_depth_ > 0) text_to_->append(text);
  }
  // The element open now ends. True when that was the element begun, and
  // then `read` is its reader's End().
  bool Close(bool& read) {
    if (text_depth_ > 0) {
      if (--text_depth_ == 0) EndText();
      return false;
    }
    return CloseReader(read);
  }

 private:
  bool CloseReader(bool& read);
  // A child read as text has ended.
  void EndText();

  // The readers of the open elements that are read by one, outermost first.
  std::vector<ElementReader*> frames_;
  // How many elements are open below and including a child read as text
  // (0: none is), and the text gathered for it.
  size_t text_depth_ = 0;
  std::string text_;
  std::string* text_to_ = &text_;  // where the text goes
};

}  // namespace kdzv

#endif  // KDZV_MESSAGE_ELEMENT_READER_H_
