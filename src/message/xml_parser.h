// The XML parser port: reads a message file as a stream of elements. One
// adapter per platform (libxml2's SAX2 interface on Linux, the SAX2 reader
// of the system's XML library on Windows); both pass every chunk of the raw
// bytes through RawMessageCheck before their parser sees it and feed the
// parser's events to XmlTreeBuilder, so the two accept and refuse exactly
// the same documents.
//
// A reader never holds a whole message as a tree: it tells, element by
// element, which elements it wants built whole (a small command, the
// header), which it wants read by an ElementReader child by child without a
// tree (the appointment commands), which it wants streamed (their children
// handed over one at a time) and which it does not want at all (checked,
// then forgotten). ParseFile and
// ParseBytes build the whole tree for the callers that want one (tests,
// tools).
//
// A message file comes from another program, never from the network, but it
// is still treated as untrusted input: a document type declaration is
// refused (so no entity beyond the predefined ones and character references
// is ever expanded, and no external resource is ever opened), and the size
// limits below bound the work and the memory one file can cause.
#ifndef KDZV_MESSAGE_XML_PARSER_H_
#define KDZV_MESSAGE_XML_PARSER_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "message/element_reader.h"
#include "message/xml_element.h"
#include "message/xml_node.h"

namespace kdzv {

namespace xml_limits {
// The largest message file that is read at all: a slow sync of a large
// practice's whole calendar (some 130 000 to 235 000 appointments). A reader
// holds one command as a tree at a time, so its memory follows the items it
// makes, not the file's size; see the README's limits for the peaks.
inline constexpr uint64_t kMaxFileBytes = uint64_t{128} * 1024 * 1024;
// The deepest nesting of elements (the document element is level 1). A
// message needs 6 levels (SyncML, SyncBody, Add, VEvent, Attribute, Value).
inline constexpr size_t kMaxDepth = 32;
// The most character data one element may hold directly.
inline constexpr size_t kMaxTextBytes = size_t{1024} * 1024;
// The most attributes (namespace declarations included) one start tag may
// carry. A message uses attributes only for its namespace; a parser checks
// a tag's attributes against each other, which costs the square of their
// number, so a file beyond this is refused before any parser sees it.
inline constexpr size_t kMaxAttributes = 64;
}  // namespace xml_limits

// Takes the elements of a document as they are read.
class XmlStreamSink {
 public:
  // How an element is handed over.
  enum class Take {
    kBuild,   // built whole, with everything below it, and given to Element()
    kStream,  // not built: Open() is asked about each of its children
    kRead,    // not built: read child by child by the reader that Reader()
              // answers; Read() gets its end
    kSkip,    // checked against the limits and forgotten, children and all
  };

  virtual ~XmlStreamSink() = default;

  // An element at `depth` (the document element is 1) whose parent is
  // streamed (or, for the document element, the document itself) starts.
  virtual Take Open(std::string_view name, size_t depth) = 0;
  // An element that Open() wanted built, complete; valid during the call.
  virtual void Element(const XmlNode& element, size_t depth) = 0;
  // The reader of the element that Open() has just taken kRead.
  virtual ElementReader* Reader() { return nullptr; }
  // An element taken kRead has ended: its reader's End() (`depth` as in
  // Open()).
  virtual void Read(bool /*read*/, size_t /*depth*/) {}
  // A reader raised a run-time error; called inside the handler. The rest of
  // the element being read is passed over, and Read() is not called for it.
  virtual void ReadFailed() {}
};

// What reading a file came to.
enum class XmlReadResult {
  kRead,        // well-formed to its end and within every limit
  kUnreadable,  // missing, not a regular file, not well-formed, or refused
  kTooLarge,    // larger than xml_limits::kMaxFileBytes; nothing was parsed
};

class XmlParser {
 public:
  virtual ~XmlParser() = default;

  // Reads the file at `path` synchronously, in chunks, handing its elements
  // to `sink` as they are read. `file_bytes` is set to the file's size when
  // it could be found out. The sink may have been given elements also when
  // the result is not kRead: a document can turn out to be broken after
  // its first commands.
  virtual XmlReadResult ReadFile(const std::string& path, XmlStreamSink& sink,
                                 uint64_t& file_bytes) = 0;
  // The same for a document held in memory (the bytes of a file).
  virtual XmlReadResult ReadBytes(std::string_view bytes, XmlStreamSink& sink) = 0;

  // The whole tree: the document element, or nothing when the file cannot
  // be read, is not well-formed XML, declares a document type, or exceeds a
  // limit.
  std::optional<XmlElement> ParseFile(const std::string& path);
  std::optional<XmlElement> ParseBytes(std::string_view bytes);
};

// Whether the raw bytes of a file may be handed to a parser, checked chunk
// by chunk as they are read: without a document type declaration, in
// whichever of the encodings an XML file can be written ("<!DOCTYPE" as
// single bytes, UTF-8, or UTF-16 in either byte order), and with no start
// tag of more than kMaxAttributes attributes (counted as the "=" signs
// outside quotes between "<" and ">", comments, CDATA sections, processing
// instructions and declarations skipped whole; in UTF-16 and UTF-32 the
// same characters in code units of their width). A chunk that fails must not
// reach the parser; what passed before it tells the parser nothing it could
// act on, since a declaration or a tag is only parsed once it is complete.
class RawMessageCheck {
 public:
  // False once the bytes seen so far, `chunk` included, are refused.
  bool Feed(std::string_view chunk);

 private:
  enum class State : uint8_t { kText, kOpen, kBang, kBangDash, kCdataOpen, kTag, kQuoted,
                               kComment, kCdata, kInstruction, kDeclaration };

  // The bytes a plain block takes.
  static constexpr size_t kPlainBlock = 16;

  bool DoctypeAcrossChunks(std::string_view chunk);
  bool Scan(std::string_view chunk);
  // Single-byte code units from `p`, in text or in a tag: skips the blocks
  // of kPlainBlock bytes that need no look at each byte, updating the state,
  // and returns where it stopped.
  const char* SkipPlainBlocks(const char* p, const char* end);
  bool Unit(uint32_t unit);

  bool refused_ = false;
  // The width of a code unit in bytes (0 until the first four bytes are
  // known) and its byte order.
  size_t width_ = 0;
  bool big_endian_ = false;
  // The first bytes until the width is known; then the bytes of a code unit
  // cut by the end of the last chunk.
  std::string partial_;
  // The last bytes of the previous chunk, for a keyword cut in two.
  std::string tail_;
  State state_ = State::kText;
  // Characters matched of "<![CDATA[" or of a closing sequence.
  size_t matched_ = 0;
  char quote_ = 0;
  size_t equals_ = 0;
};

// Whether a whole file's bytes may be handed to a parser: not larger than
// kMaxFileBytes, and accepted by RawMessageCheck.
bool CheckRawMessage(std::string_view bytes);

// Builds elements from the events of a streaming parser, or hands the
// events to the readers of an element taken kRead, and enforces the depth
// and text limits. The adapters feed it names and character data as
// UTF-8. Without a sink it builds the whole tree, which Finish() answers;
// with one it hands elements over as the sink asks.
class XmlTreeBuilder {
 public:
  XmlTreeBuilder() = default;
  explicit XmlTreeBuilder(XmlStreamSink& sink) : sink_(&sink) {}

  // False when the element would exceed the depth limit or is a second
  // document element.
  bool StartElement(std::string_view name);
  // False when the character data of the open element exceeds its limit.
  // Character data outside the document element is ignored.
  bool Characters(std::string_view text);
  void EndElement();

  // Whether the document element has been closed.
  bool Done() const { return done_; }
  // The document element once it has been closed (built without a sink).
  std::optional<XmlElement> Finish();

 private:
  // One open element: how it is taken and how much text it has.
  struct Level {
    XmlStreamSink::Take take;
    size_t text_bytes;
  };

  // Hands an event to the readers of the element being read; a run-time
  // error there goes to the sink, and the element's remaining events are
  // passed over.
  template <class Event>
  void ToReaders(Event&& event);

  XmlStreamSink* sink_ = nullptr;
  // Every open element, outermost first: StartElement() lets no more than
  // kMaxDepth be open.
  class Levels {
   public:
    bool empty() const { return size_ == 0; }
    size_t size() const { return size_; }
    Level& back() { return levels_[size_ - 1]; }
    void push_back(Level level) { levels_[size_++] = level; }
    void pop_back() { --size_; }

   private:
    std::array<Level, xml_limits::kMaxDepth> levels_{};
    size_t size_ = 0;
  };
  Levels levels_;
  // The element taken kRead (at most one at a time), and whether its readers
  // failed.
  ElementReading reading_;
  bool reading_failed_ = false;
  // The element being built with everything below it read so far; cleared
  // (its buffers kept) once handed over.
  XmlNodeTree tree_;
  std::optional<XmlElement> root_;
  bool done_ = false;
};

}  // namespace kdzv

#endif  // KDZV_MESSAGE_XML_PARSER_H_
