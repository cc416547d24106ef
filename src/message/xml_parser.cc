#include "message/xml_parser.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#if defined(__SSE2__) || (defined(__i386__) && defined(__GNUC__))
#include <emmintrin.h>
#endif

namespace kdzv {

namespace {

// "<!DOCTYPE" as single bytes and in UTF-16 of either byte order.
constexpr std::string_view kDoctype = "<!DOCTYPE";
constexpr char kDoctypeLittle[] = "<\0!\0D\0O\0C\0T\0Y\0P\0E\0";
constexpr char kDoctypeBig[] = "\0<\0!\0D\0O\0C\0T\0Y\0P\0E";
constexpr std::string_view kDoctypeWide[] = {std::string_view(kDoctypeLittle, 18),
                                             std::string_view(kDoctypeBig, 18)};
// The longest of them, less one: what a chunk keeps of its end for the next.
constexpr size_t kDoctypeTail = 17;

bool ContainsDoctype(std::string_view bytes) {
  if (bytes.find(kDoctype) != std::string_view::npos) return true;
  for (std::string_view wide : kDoctypeWide) {
    if (bytes.find(wide) != std::string_view::npos) return true;
  }
  return false;
}

// Whether a keyword lies wholly within `chunk`. Every form of it has "!"
// at a fixed place, and "!" is rare in a message, so the search goes from
// one "!" to the next.
bool ContainsDoctypeWithin(std::string_view chunk) {
  const char* const begin = chunk.data();
  const char* const end = begin + chunk.size();
  const auto matches_at = [&](const char* bang, size_t before, std::string_view form) {
    if (static_cast<size_t>(bang - begin) < before) return false;
    const char* start = bang - before;
    return static_cast<size_t>(end - start) >= form.size() &&
           std::memcmp(start, form.data(), form.size()) == 0;
  };
  for (const char* bang = begin; bang < end;) {
    bang = static_cast<const char*>(std::memchr(bang, '!', static_cast<size_t>(end - bang)));
    if (bang == nullptr) break;
    if (matches_at(bang, 1, kDoctype) || matches_at(bang, 2, kDoctypeWide[0]) ||
        matches_at(bang, 3, kDoctypeWide[1])) {
      return true;
    }
    ++bang;
  }
  return false;
}

constexpr std::string_view kCdataRest = "CDATA[";

// The characters that matter inside a tag.
constexpr auto kTagMarks = [] {
  std::array<bool, 256> marks{};
  for (unsigned char c : std::string_view("\"'=<>")) marks[c] = true;
  return marks;
}();

// Builds the whole tree.
class TreeSink : public XmlStreamSink {
 public:
  Take Open(std::string_view /*name*/, size_t /*depth*/) override { return Take::kBuild; }
  void Element(const XmlNode& element, size_t /*depth*/) override { root = element.ToElement(); }
  std::optional<XmlElement> root;
};

}  // namespace

// ---------------------------------------------------------------------------
// RawMessageCheck

bool RawMessageCheck::DoctypeAcrossChunks(std::string_view chunk) {
  // A keyword cut by the border between the last chunk and this one.
  std::string border = tail_;
  border.append(chunk.substr(0, kDoctypeTail));
  if (ContainsDoctype(border)) return true;
  if (chunk.size() >= kDoctypeTail) {
    tail_.assign(chunk.substr(chunk.size() - kDoctypeTail));
  } else {
    tail_.append(chunk);
    if (tail_.size() > kDoctypeTail) tail_.erase(0, tail_.size() - kDoctypeTail);
  }
  return false;
}

// One character of the markup, as a parser would find it: ASCII stays,
// anything else stands as 'x'. False when a start tag has too many
// attributes.
bool RawMessageCheck::Unit(uint32_t unit) {
  const char c = unit < 0x80 ? static_cast<char>(unit) : 'x';
  switch (state_) {
    case State::kText:
      if (c == '<') state_ = State::kOpen;
      return true;
    case State::kOpen:
      if (c == '?') {
        state_ = State::kInstruction;
        matched_ = 0;
        return true;
      }
      if (c == '!') {
        state_ = State::kBang;
        return true;
      }
      state_ = State::kTag;
      quote_ = 0;
      equals_ = 0;
      return Unit(unit);
    case State::kBang:
      if (c == '-') {
        state_ = State::kBangDash;
      } else if (c == '[') {
        state_ = State::kCdataOpen;
        matched_ = 0;
      } else {
        state_ = State::kDeclaration;
        return Unit(unit);
      }
      return true;
    case State::kBangDash:
      if (c == '-') {
        state_ = State::kComment;
        matched_ = 0;
        return true;
      }
      state_ = State::kDeclaration;
      return Unit(unit);
    case State::kCdataOpen:
      if (c == kCdataRest[matched_]) {
        if (++matched_ == kCdataRest.size()) {
          state_ = State::kCdata;
          matched_ = 0;
        }
        return true;
      }
      // Not a CDATA section after all: a declaration, which ends at ">".
      state_ = State::kDeclaration;
      return Unit(unit);
    case State::kComment:
    case State::kCdata: {
      // Up to "-->" or "]]>".
      const char mark = state_ == State::kComment ? '-' : ']';
      if (c == mark) {
        matched_ = std::min<size_t>(matched_ + 1, 2);
      } else if (c == '>' && matched_ == 2) {
        state_ = State::kText;
      } else {
        matched_ = 0;
      }
      return true;
    }
    case State::kInstruction:
      if (c == '>' && matched_ == 1) {
        state_ = State::kText;
      } else {
        matched_ = c == '?' ? 1 : 0;
      }
      return true;
    case State::kDeclaration:
      if (c == '>') state_ = State::kText;
      return true;
    case State::kTag:
      if (c == '"' || c == '\'') {
        quote_ = c;
        state_ = State::kQuoted;
      } else if (c == '=') {
        if (++equals_ > xml_limits::kMaxAttributes) return false;
      } else if (c == '>') {
        state_ = State::kText;
      } else if (c == '<') {
        state_ = State::kOpen;
      }
      return true;
    case State::kQuoted:
      if (c == quote_) state_ = State::kTag;
      return true;
  }
  return true;
}

// A block without quotes, "=", "!" or "?" changes the state only through
// its "<" and ">": starting in text or in a tag, it ends in the state the
// last of them leads to (a "<" as the block's last byte leaves the next byte
// to decide what it opens), and no attribute is counted.
//
// The blocks are compared 16 bytes at once with SSE2, which every x86-64
// processor has; the 32-bit build is made for processors without it too and
// asks the processor first. Elsewhere no block is skipped.
#if defined(__SSE2__) || (defined(__i386__) && defined(__GNUC__))
#if !defined(__SSE2__)
__attribute__((target("sse2")))
#endif
const char* RawMessageCheck::SkipPlainBlocks(const char* p, const char* end) {
#if !defined(__SSE2__)
  static const bool has_sse2 = [] {
    __builtin_cpu_init();  // harmless if the library's start-up has done it
    return __builtin_cpu_supports("sse2") != 0;
  }();
  if (!has_sse2) return p;
#endif
  const __m128i less = _mm_set1_epi8('<');
  const __m128i greater = _mm_set1_epi8('>');
  const __m128i double_quote = _mm_set1_epi8('"');
  const __m128i single_quote = _mm_set1_epi8('\'');
  const __m128i equals = _mm_set1_epi8('=');
  const __m128i bang = _mm_set1_epi8('!');
  const __m128i question = _mm_set1_epi8('?');
  while (end - p >= static_cast<ptrdiff_t>(kPlainBlock)) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i special = _mm_or_si128(
        _mm_or_si128(_mm_cmpeq_epi8(block, double_quote), _mm_cmpeq_epi8(block, single_quote)),
        _mm_or_si128(_mm_cmpeq_epi8(block, equals),
                     _mm_or_si128(_mm_cmpeq_epi8(block, bang), _mm_cmpeq_epi8(block, question))));
    if (_mm_movemask_epi8(special) != 0) break;
    const auto opens = static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, less)));
    const auto closes = static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, greater)));
    if ((opens | closes) != 0) {
      // The positions of the last "<" and the last ">" (-1: none).
      const int open_at = opens != 0 ? 31 - __builtin_clz(opens) : -1;
      const int close_at = closes != 0 ? 31 - __builtin_clz(closes) : -1;
      if (close_at > open_at) {
        state_ = State::kText;
      } else if (open_at == static_cast<int>(kPlainBlock) - 1) {
        state_ = State::kOpen;
      } else {
        state_ = State::kTag;
        quote_ = 0;
        equals_ = 0;
      }
    }
    p += kPlainBlock;
  }
  return p;
}
#else
const char* RawMessageCheck::SkipPlainBlocks(const char* p, const char* /*end*/) { return p; }
#endif

bool RawMessageCheck::Feed(std::string_view chunk) {
  if (refused_) return false;
  if (chunk.empty()) return true;
  if (ContainsDoctypeWithin(chunk) || DoctypeAcrossChunks(chunk) || !Scan(chunk)) {
    refused_ = true;
    return false;
  }
  return true;
}

bool RawMessageCheck::Scan(std::string_view chunk) {
  std::string first;
  if (width_ == 0) {
    // The width and byte order of a code unit, from the first four bytes:
    // a byte order mark or the "<" that an XML document starts with.
    partial_.append(chunk);
    if (partial_.size() < 4) return true;  // too short to hold a crowded tag
    const auto at = [this](size_t i) { return static_cast<unsigned char>(partial_[i]); };
    width_ = 1;
    if (at(0) == 0 && at(1) == 0 && (at(2) == 0xFE || at(3) == '<')) {
      width_ = 4;
      big_endian_ = true;
    } else if (at(2) == 0 && at(3) == 0 && (at(0) == 0xFF || at(0) == '<') && at(1) != 0xFE) {
      width_ = 4;
    } else if ((at(0) == 0xFE && at(1) == 0xFF) || (at(0) == 0 && at(1) == '<')) {
      width_ = 2;
      big_endian_ = true;
    } else if ((at(0) == 0xFF && at(1) == 0xFE) || (at(0) == '<' && at(1) == 0)) {
      width_ = 2;
    }
    // The bytes kept while deciding are the first to be scanned.
    first = std::move(partial_);
    partial_.clear();
    chunk = first;
  }

  std::string_view rest = chunk;
  if (width_ == 1) {
    const char* p = rest.data();
    const char* const end = p + rest.size();
    // Where the byte-by-byte loop below may hand back to the blocks.
    const char* scalar_until = p;
    // The states a message spends nearly all its bytes in (text, a tag, a
    // quoted value) are handled here; the rest go through Unit().
    while (p < end) {
      if (p >= scalar_until && (state_ == State::kText || state_ == State::kTag)) {
        const char* const stop = SkipPlainBlocks(p, end);
        if (stop != p) {
          p = stop;
          continue;
        }
        // The block at p holds a character that needs the loop: go through
        // it byte by byte.
        scalar_until = p + kPlainBlock;
      }
      switch (state_) {
        case State::kText:
          p = static_cast<const char*>(std::memchr(p, '<', static_cast<size_t>(end - p)));
          if (p == nullptr) return true;
          state_ = State::kOpen;
          ++p;
          continue;
        case State::kOpen:
          if (*p == '?' || *p == '!') break;
          state_ = State::kTag;
          quote_ = 0;
          equals_ = 0;
          [[fallthrough]];
        case State::kTag:
          while (p < end && !kTagMarks[static_cast<unsigned char>(*p)]) ++p;
          if (p == end) return true;
          switch (*p) {
            case '>':
              state_ = State::kText;
              break;
            case '=':
              if (++equals_ > xml_limits::kMaxAttributes) return false;
              break;
            case '<':
              state_ = State::kOpen;
              break;
            default:  // a quote
              quote_ = *p;
              state_ = State::kQuoted;
              break;
          }
          ++p;
          continue;
        case State::kQuoted:
          p = static_cast<const char*>(std::memchr(p, quote_, static_cast<size_t>(end - p)));
          if (p == nullptr) return true;
          state_ = State::kTag;
          ++p;
          continue;
        default:
          break;
      }
      if (!Unit(static_cast<unsigned char>(*p))) return false;
      ++p;
    }
    return true;
  }

  // Wider code units: complete the one cut by the last chunk first.
  std::string joined;
  if (!partial_.empty()) {
    joined = std::move(partial_);
    partial_.clear();
    joined.append(rest);
    rest = joined;
  }
  size_t i = 0;
  for (; i + width_ <= rest.size(); i += width_) {
    uint32_t unit = 0;
    for (size_t k = 0; k < width_; ++k) {
      const size_t byte = big_endian_ ? i + k : i + width_ - 1 - k;
      unit = (unit << 8) | static_cast<unsigned char>(rest[byte]);
    }
    if (!Unit(unit)) return false;
  }
  partial_.assign(rest.substr(i));
  return true;
}

bool CheckRawMessage(std::string_view bytes) {
  if (bytes.size() > xml_limits::kMaxFileBytes) return false;
  return RawMessageCheck().Feed(bytes);
}

// ---------------------------------------------------------------------------
// XmlTreeBuilder

template <class Event>
void XmlTreeBuilder::ToReaders(Event&& event) {
  if (reading_failed_) return;
  try {
    event();
  } catch (...) {
    reading_failed_ = true;
    sink_->ReadFailed();
  }
}

bool XmlTreeBuilder::StartElement(std::string_view name) {
  if (done_ || levels_.size() >= xml_limits::kMaxDepth) return false;
  using Take = XmlStreamSink::Take;
  Take take = Take::kBuild;
  if (levels_.empty() || levels_.back().take == Take::kStream) {
    if (sink_ != nullptr) {
      take = sink_->Open(name, levels_.size() + 1);
      if (take == Take::kRead) {
        ElementReader* reader = sink_->Reader();
        if (reader == nullptr) {
          take = Take::kSkip;
        } else {
          reading_.Begin(*reader);
          reading_failed_ = false;
        }
      }
    }
  } else {
    take = levels_.back().take;
    if (take == Take::kRead) {
      bool wanted = false;
      ToReaders([&] { wanted = reading_.Open(name); });
      if (!wanted) take = Take::kSkip;
    }
  }
  levels_.push_back(Level{take, 0});
  if (take == Take::kBuild) tree_.Open(name);
  return true;
}

bool XmlTreeBuilder::Characters(std::string_view text) {
  if (levels_.empty()) return true;
  Level& current = levels_.back();
  if (current.text_bytes + text.size() > xml_limits::kMaxTextBytes) return false;
  current.text_bytes += text.size();
  if (current.take == XmlStreamSink::Take::kBuild) {
    tree_.Append(text);
  } else if (current.take == XmlStreamSink::Take::kRead) {
    reading_.Characters(text);
  }
  return true;
}

void XmlTreeBuilder::EndElement() {
  if (levels_.empty()) return;
  const XmlStreamSink::Take take = levels_.back().take;
  levels_.pop_back();
  if (levels_.empty()) done_ = true;
  if (take == XmlStreamSink::Take::kRead) {
    bool ended = false;
    bool read = false;
    ToReaders([&] { ended = reading_.Close(read); });
    if (ended) sink_->Read(read, levels_.size() + 1);
    return;
  }
  if (take != XmlStreamSink::Take::kBuild) return;
  tree_.Close();
  if (!tree_.Complete()) return;
  // The outermost element being built is complete.
  if (sink_ != nullptr) {
    sink_->Element(tree_.Root(), levels_.size() + 1);
  } else {
    root_ = tree_.Root().ToElement();
  }
  tree_.Clear();
}

std::optional<XmlElement> XmlTreeBuilder::Finish() {
  if (!done_) return std::nullopt;
  return std::move(root_);
}

// ---------------------------------------------------------------------------
// XmlParser

std::optional<XmlElement> XmlParser::ParseFile(const std::string& path) {
  TreeSink sink;
  uint64_t file_bytes = 0;
  if (ReadFile(path, sink, file_bytes) != XmlReadResult::kRead) return std::nullopt;
  return std::move(sink.root);
}

std::optional<XmlElement> XmlParser::ParseBytes(std::string_view bytes) {
  TreeSink sink;
  if (ReadBytes(bytes, sink) != XmlReadResult::kRead) return std::nullopt;
  return std::move(sink.root);
}

}  // namespace kdzv
