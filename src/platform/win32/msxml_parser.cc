#include "platform/win32/msxml_parser.h"

#include <msxml2.h>
#include <objbase.h>
#include <windows.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <string_view>

#include "platform/win32/com_apartment.h"
#include "platform/win32/com_ptr.h"
#include "platform/win32/unique_handle.h"
#include "platform/win32/wide_text.h"
#include "util/error.h"

namespace kdzv::win32 {
namespace {

// MSXML 3.0's SAX reader class and the SAX interfaces used here (the import
// libraries declare these but do not define them).
constexpr CLSID kClsidSaxXmlReader30 = {
    0x3124c396, 0xfb13, 0x4836, {0xa6, 0xad, 0x13, 0x17, 0xf1, 0x71, 0x36, 0x88}};
constexpr IID kIidSaxXmlReader = {
    0xa4f96ed0, 0xf829, 0x476e, {0x81, 0xc0, 0xcd, 0xc7, 0xbd, 0x2a, 0x08, 0x02}};
constexpr IID kIidSaxContentHandler = {
    0x1545cdfa, 0x9e4e, 0x4497, {0xa8, 0xa4, 0x2b, 0xf7, 0xd0, 0x11, 0x2c, 0x44}};
constexpr IID kIidSaxErrorHandler = {
    0xa60511c4, 0xccf5, 0x479e, {0x98, 0xa3, 0xdc, 0x8d, 0xc5, 0x45, 0xb7, 0xd0}};
constexpr IID kIidSaxLexicalHandler = {
    0x7f85d5f5, 0x47a8, 0x4497, {0xbd, 0xa5, 0x84, 0xba, 0x04, 0x81, 0x9e, 0xa6}};

// The document reaches the reader in pieces of this size; no more of it is
// ever held at once.
constexpr size_t kChunkBytes = size_t{64} * 1024;

// "ActiveX component can't create object"
constexpr int32_t kCannotCreateObject = 429;

[[noreturn]] void RaiseCannotCreate() {
  Raise(kCannotCreateObject, "ActiveX component can't create object", "MsxmlParser");
}

// Where the document's bytes come from, one piece after the other.
class ChunkSource {
 public:
  virtual ~ChunkSource() = default;
  // The next piece (empty at the end), or false when it cannot be read.
  virtual bool Next(std::string_view& chunk) = 0;
};

// A document held in memory, handed out in place.
class MemoryChunks final : public ChunkSource {
 public:
  explicit MemoryChunks(std::string_view bytes) : rest_(bytes) {}
  bool Next(std::string_view& chunk) override {
    chunk = rest_.substr(0, std::min(kChunkBytes, rest_.size()));
    rest_.remove_prefix(chunk.size());
    return true;
  }

 private:
  std::string_view rest_;
};

// An open file, read into one buffer of a chunk's size.
class FileChunks final : public ChunkSource {
 public:
  explicit FileChunks(HANDLE file) : file_(file), buffer_(new char[kChunkBytes]) {}
  bool Next(std::string_view& chunk) override {
    DWORD read = 0;
    if (!::ReadFile(file_, buffer_.get(), static_cast<DWORD>(kChunkBytes), &read, nullptr)) {
      return false;
    }
    total_ += read;
    // A file that grew past the limit while it was read.
    if (total_ > xml_limits::kMaxFileBytes) return false;
    chunk = std::string_view(buffer_.get(), read);
    return true;
  }

 private:
  HANDLE file_;
  std::unique_ptr<char[]> buffer_;
  uint64_t total_ = 0;
};

// The document as a read-only stream for the reader. Every chunk passes
// RawMessageCheck when it is taken from the source, before any of its
// bytes is handed out; a chunk that is refused, or that cannot be read,
// fails the read that wanted it, which ends the parse.
class CheckedStream final : public IStream {
 public:
  explicit CheckedStream(ChunkSource& source) : source_(source) {}
  CheckedStream(const CheckedStream&) = delete;
  CheckedStream& operator=(const CheckedStream&) = delete;

  // Whether a chunk was refused or could not be read.
  bool failed() const { return failed_; }
  // The largest single read the reader asked for.
  ULONG largest_request() const { return largest_request_; }

  HRESULT WINAPI QueryInterface(REFIID riid, void** object) override {
    if (object == nullptr) return E_POINTER;
    if (riid == IID_IUnknown || riid == IID_ISequentialStream || riid == IID_IStream) {
      *object = static_cast<IStream*>(this);
      AddRef();
      return S_OK;
    }
    *object = nullptr;
    return E_NOINTERFACE;
  }
  // The stream lives on the stack of one parse (see Parse): the count only
  // tells who still holds it, and nothing is deleted when it falls to 0.
  ULONG WINAPI AddRef() override { return static_cast<ULONG>(::InterlockedIncrement(&references_)); }
  ULONG WINAPI Release() override {
    return static_cast<ULONG>(::InterlockedDecrement(&references_));
  }

  // Fills `size` bytes unless the document ends first; S_FALSE only when
  // nothing is left at all.
  HRESULT WINAPI Read(void* into, ULONG size, ULONG* read) override {
    if (read != nullptr) *read = 0;
    if (into == nullptr) return STG_E_INVALIDPOINTER;
    largest_request_ = std::max(largest_request_, size);
    char* out = static_cast<char*>(into);
    ULONG given = 0;
    while (given < size) {
      if (pending_.empty()) {
        if (ended_) break;
        if (failed_ || !NextChunkGuarded()) {
          failed_ = true;
          return STG_E_READFAULT;
        }
        if (pending_.empty()) {
          ended_ = true;
          break;
        }
      }
      const size_t n = std::min<size_t>(pending_.size(), size - given);
      std::memcpy(out + given, pending_.data(), n);
      pending_.remove_prefix(n);
      given += static_cast<ULONG>(n);
    }
    position_ += given;
    if (read != nullptr) *read = given;
    return given == 0 && size != 0 ? S_FALSE : S_OK;
  }

  HRESULT WINAPI Write(const void*, ULONG, ULONG* written) override {
    if (written != nullptr) *written = 0;
    return STG_E_ACCESSDENIED;
  }
  // Only the question where the stream stands is answered.
  HRESULT WINAPI Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) override {
    if (move.QuadPart != 0 || origin != STREAM_SEEK_CUR) return STG_E_INVALIDFUNCTION;
    if (position != nullptr) position->QuadPart = position_;
    return S_OK;
  }
  HRESULT WINAPI SetSize(ULARGE_INTEGER) override { return STG_E_ACCESSDENIED; }
  HRESULT WINAPI CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER* read,
                        ULARGE_INTEGER* written) override {
    if (read != nullptr) read->QuadPart = 0;
    if (written != nullptr) written->QuadPart = 0;
    return E_NOTIMPL;
  }
  HRESULT WINAPI Commit(DWORD) override { return S_OK; }
  HRESULT WINAPI Revert() override { return S_OK; }
  HRESULT WINAPI LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
    return STG_E_INVALIDFUNCTION;
  }
  HRESULT WINAPI UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override {
    return STG_E_INVALIDFUNCTION;
  }
  // A stream without a name whose size is not known beforehand.
  HRESULT WINAPI Stat(STATSTG* stat, DWORD) override {
    if (stat == nullptr) return STG_E_INVALIDPOINTER;
    *stat = STATSTG{};
    stat->type = STGTY_STREAM;
    stat->grfMode = STGM_READ;
    return S_OK;
  }
  HRESULT WINAPI Clone(IStream** clone) override {
    if (clone != nullptr) *clone = nullptr;
    return E_NOTIMPL;
  }

  ~CheckedStream() = default;

 private:
  // No exception travels through the reader: a chunk that cannot be taken
  // (memory running out in the check) fails the read like a refused one.
  bool NextChunkGuarded() noexcept {
    try {
      return NextChunk();
    } catch (...) {
      return false;
    }
  }

  bool NextChunk() {
    std::string_view chunk;
    if (!source_.Next(chunk)) return false;
    if (!check_.Feed(chunk)) return false;
    pending_ = chunk;
    return true;
  }

  LONG references_ = 1;
  ChunkSource& source_;
  RawMessageCheck check_;
  std::string_view pending_;  // what is left of the chunk being handed out
  uint64_t position_ = 0;
  ULONG largest_request_ = 0;
  bool ended_ = false;
  bool failed_ = false;
};

// The events of one parse, turned into elements by the shared tree builder.
// Any failure inside a callback (the builder refusing a limit, memory
// running out) is caught here: no exception ever travels through the
// reader. The callback answers E_FAIL instead, which ends the parse, and
// the document counts as unreadable.
class SaxEvents final : public ISAXContentHandler,
                        public ISAXErrorHandler,
                        public ISAXLexicalHandler {
 public:
  explicit SaxEvents(XmlStreamSink& sink) : builder_(sink) {}
  SaxEvents(const SaxEvents&) = delete;
  SaxEvents& operator=(const SaxEvents&) = delete;

  // Whether the events made a whole document within every limit.
  bool Complete() const { return !refused_ && builder_.Done(); }

  HRESULT WINAPI QueryInterface(REFIID riid, void** object) override {
    if (object == nullptr) return E_POINTER;
    if (riid == IID_IUnknown || riid == kIidSaxContentHandler) {
      *object = static_cast<ISAXContentHandler*>(this);
    } else if (riid == kIidSaxErrorHandler) {
      *object = static_cast<ISAXErrorHandler*>(this);
    } else if (riid == kIidSaxLexicalHandler) {
      *object = static_cast<ISAXLexicalHandler*>(this);
    } else {
      *object = nullptr;
      return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
  }
  // Lives on the stack of one parse, as the stream does.
  ULONG WINAPI AddRef() override { return static_cast<ULONG>(::InterlockedIncrement(&references_)); }
  ULONG WINAPI Release() override {
    return static_cast<ULONG>(::InterlockedDecrement(&references_));
  }

  // --- ISAXContentHandler
  HRESULT WINAPI putDocumentLocator(ISAXLocator*) override { return S_OK; }
  HRESULT WINAPI startDocument() override { return S_OK; }
  HRESULT WINAPI endDocument() override { return Guarded([this] { return FlushPending(); }); }
  HRESULT WINAPI startPrefixMapping(const wchar_t*, int, const wchar_t*, int) override {
    return S_OK;
  }
  HRESULT WINAPI endPrefixMapping(const wchar_t*, int) override { return S_OK; }
  // The name as written: with its prefix, if it has one.
  HRESULT WINAPI startElement(const wchar_t*, int, const wchar_t*, int, const wchar_t* name,
                              int name_length, ISAXAttributes*) override {
    return Guarded([&] {
      return FlushPending() && builder_.StartElement(Utf8(name, name_length));
    });
  }
  HRESULT WINAPI endElement(const wchar_t*, int, const wchar_t*, int, const wchar_t*,
                            int) override {
    return Guarded([this] {
      if (!FlushPending()) return false;
      builder_.EndElement();
      return true;
    });
  }
  // Character data, white space and CDATA sections alike.
  HRESULT WINAPI characters(const wchar_t* text, int length) override {
    return Guarded([&] { return Characters(text, length); });
  }
  HRESULT WINAPI ignorableWhitespace(const wchar_t* text, int length) override {
    return Guarded([&] { return Characters(text, length); });
  }
  HRESULT WINAPI processingInstruction(const wchar_t*, int, const wchar_t*, int) override {
    return S_OK;
  }
  // Only a document type can leave an entity unexpanded.
  HRESULT WINAPI skippedEntity(const wchar_t*, int) override { return Refuse(); }

  // --- ISAXErrorHandler: an error of any weight ends the parse.
  HRESULT WINAPI error(ISAXLocator*, const wchar_t*, HRESULT) override { return Refuse(); }
  HRESULT WINAPI fatalError(ISAXLocator*, const wchar_t*, HRESULT) override { return Refuse(); }
  HRESULT WINAPI ignorableWarning(ISAXLocator*, const wchar_t*, HRESULT) override { return S_OK; }

  // --- ISAXLexicalHandler. A document type declaration never gets this far
  // (RawMessageCheck refuses it in every encoding it knows); should one
  // arrive in another encoding, the parse ends before anything in it is
  // used.
  HRESULT WINAPI startDTD(const wchar_t*, int, const wchar_t*, int, const wchar_t*,
                          int) override {
    return Refuse();
  }
  HRESULT WINAPI endDTD() override { return Refuse(); }
  HRESULT WINAPI startEntity(const wchar_t*, int) override { return S_OK; }
  HRESULT WINAPI endEntity(const wchar_t*, int) override { return S_OK; }
  HRESULT WINAPI startCDATA() override { return S_OK; }
  HRESULT WINAPI endCDATA() override { return S_OK; }
  HRESULT WINAPI comment(const wchar_t*, int) override { return S_OK; }

  ~SaxEvents() = default;

 private:
  HRESULT Refuse() {
    refused_ = true;
    return E_FAIL;
  }

  // Runs the body of a callback; false from it, or an exception, refuses
  // the document.
  template <class Body>
  HRESULT Guarded(Body&& body) noexcept {
    if (refused_) return E_FAIL;
    try {
      if (body()) return S_OK;
    } catch (...) {
      failure_ = std::current_exception();
    }
    return Refuse();
  }

  // The text as UTF-8, in a buffer that is reused from call to call.
  std::string_view Utf8(const wchar_t* text, int length) {
    if (text == nullptr || length <= 0) return {};
    const int needed =
        ::WideCharToMultiByte(CP_UTF8, 0, text, length, nullptr, 0, nullptr, nullptr);
    if (needed <= 0) throw std::bad_alloc();
    if (utf8_.size() < static_cast<size_t>(needed)) utf8_.resize(static_cast<size_t>(needed));
    ::WideCharToMultiByte(CP_UTF8, 0, text, length, utf8_.data(), needed, nullptr, nullptr);
    return std::string_view(utf8_.data(), static_cast<size_t>(needed));
  }

  // A reader may end a piece of character data between the two halves of
  // a surrogate pair; the first half waits for the second.
  bool Characters(const wchar_t* text, int length) {
    if (text == nullptr || length <= 0) return true;
    if (high_surrogate_ != 0) {
      const wchar_t pair[2] = {high_surrogate_, text[0]};
      high_surrogate_ = 0;
      if (!builder_.Characters(Utf8(pair, 2))) return false;
      ++text;
      --length;
    }
    if (length > 0 && text[length - 1] >= 0xD800 && text[length - 1] <= 0xDBFF) {
      high_surrogate_ = text[length - 1];
      --length;
    }
    return builder_.Characters(Utf8(text, length));
  }

  // A first half that no second half followed.
  bool FlushPending() {
    if (high_surrogate_ == 0) return true;
    const wchar_t alone = high_surrogate_;
    high_surrogate_ = 0;
    return builder_.Characters(Utf8(&alone, 1));
  }

  LONG references_ = 1;
  XmlTreeBuilder builder_;
  std::string utf8_;
  wchar_t high_surrogate_ = 0;
  bool refused_ = false;
  // What went wrong inside a callback, kept for a look in a debugger; the
  // document is unreadable either way.
  std::exception_ptr failure_;
};

// A VARIANT that lends `object` to a call: not cleared, since it holds no
// reference of its own.
VARIANT Lend(IUnknown* object) {
  VARIANT value;
  ::VariantInit(&value);
  value.vt = VT_UNKNOWN;
  value.punkVal = object;
  return value;
}

// MSXML 3.0's SAX reader set up to resolve nothing external and to accept
// no document type.
ComPtr<ISAXXMLReader> CreateReader() {
  ComPtr<ISAXXMLReader> reader;
  if (FAILED(::CoCreateInstance(kClsidSaxXmlReader30, nullptr, CLSCTX_INPROC_SERVER,
                                kIidSaxXmlReader, reader.PutVoid())) ||
      !reader) {
    RaiseCannotCreate();
  }
  // Not every version knows every feature; a document type is refused
  // independently of them.
  reader->putFeature(L"prohibit-dtd", VARIANT_TRUE);
  reader->putFeature(L"http://xml.org/sax/features/external-general-entities", VARIANT_FALSE);
  reader->putFeature(L"http://xml.org/sax/features/external-parameter-entities", VARIANT_FALSE);
  return reader;
}

XmlReadResult Parse(ChunkSource& source, XmlStreamSink& sink) {
  ComApartment apartment;
  if (!apartment.ready()) RaiseCannotCreate();
  // The handlers and the stream are this call's own, made before the reader
  // so that they outlive it: whatever references the reader still holds
  // (also on a path where it forgets one) end with it, and nothing of them
  // is left on the heap.
  SaxEvents events(sink);
  CheckedStream stream(source);
  ComPtr<ISAXXMLReader> reader = CreateReader();

  if (FAILED(reader->putContentHandler(&events)) || FAILED(reader->putErrorHandler(&events)) ||
      FAILED(reader->putProperty(L"http://xml.org/sax/properties/lexical-handler",
                                 Lend(static_cast<ISAXLexicalHandler*>(&events))))) {
    RaiseCannotCreate();
  }
  const HRESULT parsed = reader->parse(Lend(static_cast<IStream*>(&stream)));
  // The reader lets go of the handlers before they go.
  reader->putContentHandler(nullptr);
  reader->putErrorHandler(nullptr);
  reader->putProperty(L"http://xml.org/sax/properties/lexical-handler", Lend(nullptr));
  reader.reset();

  if (parsed != S_OK || stream.failed() || !events.Complete()) {
    return XmlReadResult::kUnreadable;
  }
  return XmlReadResult::kRead;
}

}  // namespace

XmlReadResult MsxmlParser::ReadFile(const std::string& path, XmlStreamSink& sink,
                                    uint64_t& file_bytes) {
  UniqueHandle file(::CreateFileW(Widen(path).c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                  OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  if (!file.valid() || ::GetFileType(file.get()) != FILE_TYPE_DISK) {
    return XmlReadResult::kUnreadable;
  }
  LARGE_INTEGER size{};
  if (!::GetFileSizeEx(file.get(), &size) || size.QuadPart < 0) return XmlReadResult::kUnreadable;
  file_bytes = static_cast<uint64_t>(size.QuadPart);
  if (file_bytes > xml_limits::kMaxFileBytes) return XmlReadResult::kTooLarge;
  FileChunks source(file.get());
  return Parse(source, sink);
}

XmlReadResult MsxmlParser::ReadBytes(std::string_view bytes, XmlStreamSink& sink) {
  if (bytes.size() > xml_limits::kMaxFileBytes) return XmlReadResult::kTooLarge;
  MemoryChunks source(bytes);
  return Parse(source, sink);
}

}  // namespace kdzv::win32
