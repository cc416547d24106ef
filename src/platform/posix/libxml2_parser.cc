#include "platform/posix/libxml2_parser.h"

#include <fcntl.h>
#include <libxml/encoding.h>
#include <libxml/globals.h>
#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

#include "platform/posix/unique_fd.h"

namespace kdzv::posix {
namespace {

// The document is pushed into libxml2 in pieces of this size.
constexpr size_t kChunkBytes = size_t{64} * 1024;
// libxml2 detects the encoding from the first four bytes.
constexpr size_t kEncodingProbeBytes = 4;

std::string_view View(const xmlChar* text) {
  return text == nullptr ? std::string_view()
                         : std::string_view(reinterpret_cast<const char*>(text));
}

// Windows-1252 as Windows decodes it: the bytes 0x80..0x9F that the code
// page leaves undefined (0x81, 0x8D, 0x8F, 0x90, 0x9D) stand for the C1
// control of the same value. libxml2's converters (ICU or iconv) refuse
// those bytes, the Windows DOM reads them; with this decoder a message reads
// the same on both.
constexpr uint16_t kWindows1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// libxml2's input converter: as many bytes of `in` as fit into `out` as
// UTF-8; `inlen` and `outlen` come back as the bytes consumed and produced.
int Windows1252ToUtf8(unsigned char* out, int* outlen, const unsigned char* in, int* inlen) {
  const int out_size = *outlen;
  const int in_size = *inlen;
  int produced = 0;
  int consumed = 0;
  while (consumed < in_size) {
    const unsigned char byte = in[consumed];
    const uint16_t c = byte >= 0x80 && byte < 0xA0 ? kWindows1252High[byte - 0x80] : byte;
    const int length = c < 0x80 ? 1 : c < 0x800 ? 2 : 3;
    if (produced + length > out_size) break;
    if (length == 1) {
      out[produced] = static_cast<unsigned char>(c);
    } else if (length == 2) {
      out[produced] = static_cast<unsigned char>(0xC0 | (c >> 6));
      out[produced + 1] = static_cast<unsigned char>(0x80 | (c & 0x3F));
    } else {
      out[produced] = static_cast<unsigned char>(0xE0 | (c >> 12));
      out[produced + 1] = static_cast<unsigned char>(0x80 | ((c >> 6) & 0x3F));
      out[produced + 2] = static_cast<unsigned char>(0x80 | (c & 0x3F));
    }
    produced += length;
    ++consumed;
  }
  *outlen = produced;
  *inlen = consumed;
  return produced;
}

// Registers the decoder above under the code page's name, once per
// process; libxml2 looks at registered decoders before its converters.
void RegisterWindows1252() {
  static const bool registered =
      xmlNewCharEncodingHandler("windows-1252", &Windows1252ToUtf8, nullptr) != nullptr;
  static_cast<void>(registered);
}

// The lengths of the element names of one parse. libxml2 keeps every name
// it has read in its parser's dictionary, once, and hands that copy to the
// callbacks: a name's pointer stands for its text as long as the parser
// lives, and its length need not be counted again each time it comes.
class NameLengths {
 public:
  std::string_view Of(const xmlChar* name) {
    Entry& entry = entries_[(reinterpret_cast<uintptr_t>(name) >> 4) % kEntries];
    if (entry.name != name) {
      entry.name = name;
      entry.length = std::strlen(reinterpret_cast<const char*>(name));
    }
    return std::string_view(reinterpret_cast<const char*>(name), entry.length);
  }

 private:
  static constexpr size_t kEntries = 64;
  struct Entry {
    const xmlChar* name = nullptr;
    size_t length = 0;
  };
  std::array<Entry, kEntries> entries_{};
};

// What the callbacks share during one parse.
struct ParseState {
  explicit ParseState(XmlStreamSink& sink) : builder(sink) {}
  XmlTreeBuilder builder;
  NameLengths names;
  xmlParserCtxtPtr context = nullptr;
  bool refused = false;
};

ParseState& StateOf(void* user_data) { return *static_cast<ParseState*>(user_data); }

// Ends the parse with no result.
void Refuse(ParseState& state) {
  state.refused = true;
  if (state.context != nullptr) xmlStopParser(state.context);
}

// Runs the body of a callback. libxml2 is C: an exception must never travel
// through its frames. A failure inside (memory running out while the tree
// grows) stops the parser instead, and the file counts as unreadable.
template <class Body>
void Guarded(void* user_data, Body&& body) noexcept {
  ParseState& state = StateOf(user_data);
  if (state.refused) return;
  try {
    body(state);
  } catch (...) {
    Refuse(state);
  }
}

void OnStartElement(void* user_data, const xmlChar* local_name, const xmlChar* prefix,
                    const xmlChar* /*uri*/, int /*namespace_count*/, const xmlChar** /*namespaces*/,
                    int /*attribute_count*/, int /*defaulted_count*/,
                    const xmlChar** /*attributes*/) {
  Guarded(user_data, [&](ParseState& state) {
    // The name as written: with its prefix, if it has one.
    bool started = false;
    if (prefix == nullptr) {
      started = state.builder.StartElement(state.names.Of(local_name));
    } else {
      std::string name(View(prefix));
      name.push_back(':');
      name.append(View(local_name));
      started = state.builder.StartElement(name);
    }
    if (!started) Refuse(state);
  });
}

void OnEndElement(void* user_data, const xmlChar* /*local_name*/, const xmlChar* /*prefix*/,
                  const xmlChar* /*uri*/) {
  Guarded(user_data, [](ParseState& state) { state.builder.EndElement(); });
}

// Character data, white space and CDATA sections alike.
void OnCharacters(void* user_data, const xmlChar* text, int length) {
  if (length <= 0) return;
  Guarded(user_data, [&](ParseState& state) {
    const std::string_view data(reinterpret_cast<const char*>(text), static_cast<size_t>(length));
    if (!state.builder.Characters(data)) Refuse(state);
  });
}

// A document type declaration never gets this far (CheckRawMessage refuses
// it in every encoding it knows); should one arrive in another encoding, the
// parse ends before anything in it is used.
void OnSubset(void* user_data, const xmlChar* /*name*/, const xmlChar* /*public_id*/,
              const xmlChar* /*system_id*/) {
  Refuse(StateOf(user_data));
}

void OnEntityDeclaration(void* user_data, const xmlChar* /*name*/, int /*type*/,
                         const xmlChar* /*public_id*/, const xmlChar* /*system_id*/,
                         xmlChar* /*content*/) {
  Refuse(StateOf(user_data));
}

void IgnoreStructuredError(void* /*user_data*/, xmlErrorPtr /*error*/) {}
void IgnoreGenericError(void* /*context*/, const char* /*format*/, ...) {}

// libxml2 prints some errors (encoding and I/O errors, which are raised
// without a parser context) through its process-wide handlers, which write
// to stderr by default. This silences them for its lifetime and then puts
// the previous handlers back.
class QuietErrors {
 public:
  QuietErrors()
      : generic_(xmlGenericError),
        generic_context_(xmlGenericErrorContext),
        structured_(xmlStructuredError),
        structured_context_(xmlStructuredErrorContext) {
    xmlSetGenericErrorFunc(nullptr, &IgnoreGenericError);
    xmlSetStructuredErrorFunc(nullptr, &IgnoreStructuredError);
  }
  ~QuietErrors() {
    xmlSetGenericErrorFunc(generic_context_, generic_);
    xmlSetStructuredErrorFunc(structured_context_, structured_);
  }
  QuietErrors(const QuietErrors&) = delete;
  QuietErrors& operator=(const QuietErrors&) = delete;

 private:
  xmlGenericErrorFunc generic_;
  void* generic_context_;
  xmlStructuredErrorFunc structured_;
  void* structured_context_;
};

struct ContextDeleter {
  void operator()(xmlParserCtxtPtr context) const { xmlFreeParserCtxt(context); }
};
using ContextPtr = std::unique_ptr<xmlParserCtxt, ContextDeleter>;

xmlSAXHandler MakeHandler() {
  xmlSAXHandler handler{};
  handler.initialized = XML_SAX2_MAGIC;
  handler.startElementNs = &OnStartElement;
  handler.endElementNs = &OnEndElement;
  handler.characters = &OnCharacters;
  handler.ignorableWhitespace = &OnCharacters;
  handler.cdataBlock = &OnCharacters;
  handler.internalSubset = &OnSubset;
  handler.externalSubset = &OnSubset;
  handler.entityDecl = &OnEntityDeclaration;
  handler.serror = &IgnoreStructuredError;
  return handler;
}

// Never fetch anything from the network; errors and warnings are not
// printed. Entity substitution, DTD loading, default attributes, XInclude
// and the lifting of libxml2's own size limits stay off.
constexpr int kParseOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;

// One parse, fed chunk by chunk: every chunk passes the raw check before
// libxml2 sees it.
class PushParse {
 public:
  explicit PushParse(XmlStreamSink& sink) : handler_(MakeHandler()), state_(sink) {}

  // False once the document is refused or broken; the rest need not come.
  bool Feed(std::string_view chunk, bool last) {
    if (failed_) return false;
    if (!check_.Feed(chunk)) return Fail();
    if (!context_) {
      // libxml2 detects the encoding from the first four bytes.
      const size_t take = std::min(chunk.size(), kEncodingProbeBytes - head_.size());
      head_.append(chunk.substr(0, take));
      chunk.remove_prefix(take);
      if (head_.size() < kEncodingProbeBytes && !last) return true;
      context_.reset(xmlCreatePushParserCtxt(&handler_, &state_, head_.data(),
                                             static_cast<int>(head_.size()), nullptr));
      if (!context_) return Fail();
      state_.context = context_.get();
      xmlCtxtUseOptions(context_.get(), kParseOptions);
    }
    // libxml2 takes an int's worth at a time.
    do {
      const size_t n = std::min(chunk.size(), kChunkBytes);
      const bool end = last && n == chunk.size();
      if (xmlParseChunk(context_.get(), chunk.data(), static_cast<int>(n), end ? 1 : 0) !=
              XML_ERR_OK ||
          state_.refused) {
        return Fail();
      }
      chunk.remove_prefix(n);
    } while (!chunk.empty());
    return true;
  }

  // After the last chunk: whether the document was read to its end.
  bool Read() const {
    // A prefix without a namespace declaration is an error too: the
    // document is not namespace-well-formed.
    return !failed_ && context_ && !state_.refused && context_->wellFormed != 0 &&
           context_->nsWellFormed != 0 && state_.builder.Done();
  }

 private:
  bool Fail() {
    failed_ = true;
    return false;
  }

  QuietErrors quiet_;
  xmlSAXHandler handler_;
  ParseState state_;
  RawMessageCheck check_;
  ContextPtr context_;
  std::string head_;
  bool failed_ = false;
};

}  // namespace

Libxml2Parser::Libxml2Parser() {
  xmlInitParser();
  RegisterWindows1252();
}

XmlReadResult Libxml2Parser::ReadFile(const std::string& path, XmlStreamSink& sink,
                                      uint64_t& file_bytes) {
  // O_NONBLOCK: a FIFO put where a message file is expected must not hang
  // the open; it is refused below as not being a regular file.
  UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (file.get() < 0) return XmlReadResult::kUnreadable;
  struct stat info {};
  if (::fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode)) {
    return XmlReadResult::kUnreadable;
  }
  file_bytes = static_cast<uint64_t>(info.st_size);
  if (file_bytes > xml_limits::kMaxFileBytes) return XmlReadResult::kTooLarge;

  PushParse parse(sink);
  std::string buffer(kChunkBytes, '\0');
  uint64_t total = 0;
  for (;;) {
    const ssize_t n = ::read(file.get(), buffer.data(), buffer.size());
    if (n < 0) {
      if (errno == EINTR) continue;
      return XmlReadResult::kUnreadable;
    }
    total += static_cast<uint64_t>(n);
    // A file that grew past the limit while it was read.
    if (total > xml_limits::kMaxFileBytes) return XmlReadResult::kUnreadable;
    if (!parse.Feed(std::string_view(buffer.data(), static_cast<size_t>(n)), n == 0)) break;
    if (n == 0) break;
  }
  return parse.Read() ? XmlReadResult::kRead : XmlReadResult::kUnreadable;
}

XmlReadResult Libxml2Parser::ReadBytes(std::string_view bytes, XmlStreamSink& sink) {
  if (bytes.size() > xml_limits::kMaxFileBytes) return XmlReadResult::kTooLarge;
  PushParse parse(sink);
  do {
    const size_t n = std::min(kChunkBytes, bytes.size());
    if (!parse.Feed(bytes.substr(0, n), n == bytes.size())) break;
    bytes.remove_prefix(n);
  } while (!bytes.empty());
  return parse.Read() ? XmlReadResult::kRead : XmlReadResult::kUnreadable;
}

}  // namespace kdzv::posix
