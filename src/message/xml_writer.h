// Writes the markup of a message element by element, straight into one
// string, without building the elements first.
//
// The markup is what SerializeXml gives for the same elements: one line, no
// indentation, an element without content written as <Name/>, "&", "<" and
// ">" in character data escaped. An element is closed as late as possible:
// when something is appended to an element further out, or when everything
// is closed. So an item that fails partway leaves its element with what it
// got, closed properly, just as a tree of elements would have kept it.
//
// Items write through an Element, a small handle for one open element. An
// element once closed takes nothing more: appending to it raises an error
// rather than writing markup in the wrong place.
#ifndef KDZV_MESSAGE_XML_WRITER_H_
#define KDZV_MESSAGE_XML_WRITER_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kdzv {

class XmlWriter {
 public:
  // One element being written (or, from Outside(), the place outside every
  // element). Copied freely; valid while its writer lives.
  class Element {
   public:
    // Closes whatever is still open inside this element, then starts a child
    // `name` after its content so far.
    Element AppendChild(std::string_view name) const;
    // Closes whatever is still open inside this element, then appends
    // `text` (escaped) to its content. Nothing for empty text.
    void AppendText(std::string_view text) const;
    // A child `name` holding `text` (an empty element for empty text).
    Element AppendTextElement(std::string_view name, std::string_view text) const;
    // A child `name` that `fill(child)` fills, kept whole or not at all:
    // when `fill` raises, the child is taken out again before the error
    // goes on.
    template <class Fill>
    Element AppendWholeChild(std::string_view name, Fill&& fill) const {
      const Element child = AppendChild(name);
      try {
        fill(child);
      } catch (...) {
        child.Remove();
        throw;
      }
      return child;
    }
    // Takes this element out again, with everything written of it, as if it
    // had never been started. Only for an element that is still open and
    // whose markup has not been handed on.
    void Remove() const;
    // Whether the element still takes content.
    bool IsOpen() const;

   private:
    friend class XmlWriter;
    Element(XmlWriter* writer, size_t depth, uint64_t serial)
        : writer_(writer), depth_(depth), serial_(serial) {}

    XmlWriter* writer_;
    size_t depth_;     // 0 outside every element, 1 for a top-level element
    uint64_t serial_;  // tells this element from a later one at its depth
  };

  // Takes the markup of each complete child of a handed-on element.
  using ChildSink = std::function<void(std::string_view markup)>;

  XmlWriter() = default;
  virtual ~XmlWriter() = default;
  XmlWriter(const XmlWriter&) = delete;
  XmlWriter& operator=(const XmlWriter&) = delete;

  // Outside every element: what is appended to it is written at the top
  // level, one element after the other.
  Element Outside() { return Element(this, 0, 0); }

  // From now on, whenever a child of `parent` is complete, the markup
  // written so far (that child's, and the start of `parent` before its first
  // child) goes to `sink` and is forgotten. A writer thus holds one child's
  // markup at a time.
  void HandOnChildren(Element parent, ChildSink sink);

  // Closes every open element.
  void CloseAll() { CloseDeeperThan(0); }

  // The markup written and not yet handed on.
  const std::string& Markup() const { return markup_; }
  // Forgets the markup written so far (as if it had been handed on); the
  // open elements stay open.
  void ForgetMarkup();

 protected:
  // Called before anything of an element `name` is written. Making an
  // element can fail like any call into a document library; a writer for
  // tests raises here to make one element fail.
  virtual void BeforeElement(std::string_view /*name*/) {}

 private:
  // One open element.
  struct Open {
    uint64_t serial;
    // Where its markup begins, counted over all markup ever written: before
    // the ">" of its parent's start tag when that was still open.
    size_t begin;
    uint32_t name_begin;  // its name in names_
    uint32_t name_size;
    bool parent_start_open;
  };

  // Raises an error unless `element` is this writer's and still open.
  void Check(const Element& element) const;
  void CloseDeeperThan(size_t depth);
  void CloseInnermost();
  void EndStartTag() {
    if (start_open_) markup_.push_back('>');
    start_open_ = false;
  }
  // Runs `write`, which adds to the markup; when it fails (out of memory),
  // the markup is as it was before, so no piece of a tag or a text stays.
  template <class Write>
  void WriteWhole(Write&& write) {
    const size_t size = markup_.size();
    const bool start_open = start_open_;
    try {
      write();
    } catch (...) {
      markup_.resize(size);
      start_open_ = start_open;
      throw;
    }
  }

  std::string markup_;
  // How much markup was handed on or forgotten before markup_.
  size_t handed_on_ = 0;
  std::vector<Open> open_;  // the open elements, outermost first
  std::string names_;       // their names, one after the other
  // Whether the innermost open element's start tag still lacks its ">".
  bool start_open_ = false;
  uint64_t next_serial_ = 1;

  ChildSink sink_;
  size_t sink_parent_depth_ = 0;
  uint64_t sink_parent_serial_ = 0;
};

// Appends `text` to `out` with "&", "<" and ">" escaped.
void AppendEscapedXmlText(std::string& out, std::string_view text);

}  // namespace kdzv

#endif  // KDZV_MESSAGE_XML_WRITER_H_
