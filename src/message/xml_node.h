// A read-only tree of parsed elements, stored flat: what the message reader
// walks for the header and for each command of a received file. Building
// one costs no allocation once its buffers have grown to the size of the
// largest command; Clear() keeps them for the next.
//
// All character data goes into one buffer in document order, so the text
// below an element (its own and that of every descendant) is one range of
// it. Only elements and their character data are kept.
#ifndef KDZV_MESSAGE_XML_NODE_H_
#define KDZV_MESSAGE_XML_NODE_H_

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "message/xml_element.h"
#include "util/text.h"

namespace kdzv {

class XmlNodeTree;

// One element of a tree: valid while its tree is neither cleared nor added to.
class XmlNode {
 public:
  XmlNode(const XmlNodeTree& tree, uint32_t index) : tree_(&tree), index_(index) {}

  std::string_view Name() const;
  // All character data below the element, in document order, with leading
  // and trailing white space (blank, tab, CR, LF) removed.
  std::string_view Text() const;

  class ChildIterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = XmlNode;
    using difference_type = std::ptrdiff_t;
    using pointer = void;
    using reference = XmlNode;

    ChildIterator(const XmlNodeTree* tree, uint32_t index) : tree_(tree), index_(index) {}
    XmlNode operator*() const { return XmlNode(*tree_, index_); }
    ChildIterator& operator++();
    bool operator==(const ChildIterator& other) const { return index_ == other.index_; }

   private:
    const XmlNodeTree* tree_;
    uint32_t index_;
  };

  // The children in document order.
  class ChildRange {
   public:
    ChildRange(const XmlNodeTree* tree, uint32_t first) : tree_(tree), first_(first) {}
    ChildIterator begin() const { return ChildIterator(tree_, first_); }
    ChildIterator end() const;
    bool empty() const;
    // Counted by going through them.
    size_t size() const;

   private:
    const XmlNodeTree* tree_;
    uint32_t first_;
  };

  ChildRange Children() const;

  // The element as a tree of its own, with every element's own text and
  // the place of each child in it, as a streamed reading would have built it.
  XmlElement ToElement() const;

 private:
  const XmlNodeTree* tree_;
  uint32_t index_;
};

class XmlNodeTree {
 public:
  // The index that no element has.
  static constexpr uint32_t kNone = UINT32_MAX;

  // Starts an element as the last child of the element open now (or as the
  // root, when none is).
  void Open(std::string_view name);
  // Character data of the element open now.
  void Append(std::string_view text) { text_.append(text); }
  // Ends the element open now.
  void Close();

  // Whether no element is open.
  bool Complete() const { return open_.empty(); }
  bool Empty() const { return nodes_.empty(); }
  // The first element started (the root, once Complete()).
  XmlNode Root() const { return XmlNode(*this, 0); }

  // Forgets every element; the buffers keep their size.
  void Clear();

  // A tree holding `element` and everything below it.
  static XmlNodeTree Of(const XmlElement& element);

 private:
  friend class XmlNode;

  // 24 bytes an element: a document of nothing but empty elements ("<a/>")
  // costs some six times its size while it is built.
  struct Node {
    uint32_t name_begin;
    uint32_t name_size;
    uint32_t text_begin;
    uint32_t text_end;
    uint32_t first_child;
    uint32_t next_sibling;
  };
  // An element being built and its last child so far.
  struct OpenElement {
    uint32_t index;
    uint32_t last_child;
  };

  void Add(const XmlElement& element);

  std::vector<Node> nodes_;
  std::vector<OpenElement> open_;  // the open elements, outermost first
  std::string names_;
  std::string text_;
};

// The accessors a reader calls for every element, inline.

inline std::string_view XmlNode::Name() const {
  const XmlNodeTree::Node& node = tree_->nodes_[index_];
  return std::string_view(tree_->names_.data() + node.name_begin, node.name_size);
}

inline std::string_view XmlNode::Text() const {
  const XmlNodeTree::Node& node = tree_->nodes_[index_];
  return Trim(std::string_view(tree_->text_.data() + node.text_begin,
                               node.text_end - node.text_begin));
}

inline XmlNode::ChildIterator& XmlNode::ChildIterator::operator++() {
  index_ = tree_->nodes_[index_].next_sibling;
  return *this;
}

inline XmlNode::ChildRange XmlNode::Children() const {
  return ChildRange(tree_, tree_->nodes_[index_].first_child);
}

inline XmlNode::ChildIterator XmlNode::ChildRange::end() const {
  return ChildIterator(tree_, XmlNodeTree::kNone);
}

inline bool XmlNode::ChildRange::empty() const { return first_ == XmlNodeTree::kNone; }

}  // namespace kdzv

#endif  // KDZV_MESSAGE_XML_NODE_H_
