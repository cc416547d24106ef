#include "message/xml_parser.h"

#include <cstdint>
#include <utility>

namespace kdzv {

namespace {

bool ContainsWide(std::string_view bytes, std::string_view ascii, bool big_endian) {
  std::string wide;
  wide.reserve(ascii.size() * 2);
  for (char c : ascii) {
    if (big_endian) wide.push_back('\0');
    wide.push_back(c);
    if (!big_endian) wide.push_back('\0');
  }
  return bytes.find(wide) != std::string_view::npos;
}

// The characters of a file as single bytes, whatever its encoding: ASCII
// stays, anything else becomes 'x'. XML's markup is all ASCII, so this is
// enough to find tags in UTF-8 and 8-bit files and, read in code units of
// two or four bytes, in UTF-16 and UTF-32 files of either byte order.
std::string MarkupCharacters(std::string_view bytes) {
  const auto at = [&bytes](size_t i) { return static_cast<unsigned char>(bytes[i]); };
  size_t width = 1;
  bool big_endian = false;
  if (bytes.size() >= 4 && at(0) == 0 && at(1) == 0 && (at(2) == 0xFE || at(3) == '<')) {
    width = 4;
    big_endian = true;
  } else if (bytes.size() >= 4 && at(2) == 0 && at(3) == 0 && (at(0) == 0xFF || at(0) == '<') &&
             at(1) != 0xFE) {
    width = 4;
  } else if (bytes.size() >= 2 && ((at(0) == 0xFE && at(1) == 0xFF) || (at(0) == 0 && at(1) == '<'))) {
    width = 2;
    big_endian = true;
  } else if (bytes.size() >= 2 && ((at(0) == 0xFF && at(1) == 0xFE) || (at(0) == '<' && at(1) == 0))) {
    width = 2;
  }
  std::string out;
  out.reserve(bytes.size() / width);
  for (size_t i = 0; i + width <= bytes.size(); i += width) {
    uint32_t unit = 0;
    for (size_t k = 0; k < width; ++k) {
      const size_t byte = big_endian ? i + k : i + width - 1 - k;
      unit = (unit << 8) | at(byte);
    }
    out.push_back(unit < 0x80 ? static_cast<char>(unit) : 'x');
  }
  return out;
}

// Whether some start tag carries more than kMaxAttributes attributes,
// counted as the "=" signs outside quoted values, found the way a parser
// finds them: comments, CDATA sections, processing instructions and
// declarations are skipped whole.
bool HasCrowdedTag(std::string_view bytes) {
  const std::string text = MarkupCharacters(bytes);
  const auto skip_to = [&text](size_t from, std::string_view end) {
    const size_t found = text.find(end, from);
    return found == std::string::npos ? text.size() : found + end.size();
  };
  size_t i = 0;
  while (i < text.size()) {
    const size_t open = text.find('<', i);
    if (open == std::string::npos) break;
    const std::string_view rest = std::string_view(text).substr(open);
    if (rest.substr(0, 4) == "<!--") {
      i = skip_to(open + 4, "-->");
    } else if (rest.substr(0, 9) == "<![CDATA[") {
      i = skip_to(open + 9, "]]>");
    } else if (rest.substr(0, 2) == "<?") {
      i = skip_to(open + 2, "?>");
    } else if (rest.substr(0, 2) == "<!") {
      i = skip_to(open + 2, ">");
    } else {
      // A start or end tag: "=" outside quotes, up to its ">".
      size_t equals = 0;
      char quote = 0;
      size_t j = open + 1;
      for (; j < text.size(); ++j) {
        const char c = text[j];
        if (quote != 0) {
          if (c == quote) quote = 0;
        } else if (c == '"' || c == '\'') {
          quote = c;
        } else if (c == '=') {
          if (++equals > xml_limits::kMaxAttributes) return true;
        } else if (c == '>' || c == '<') {
          break;
        }
      }
      i = j < text.size() && text[j] == '>' ? j + 1 : j;
    }
  }
  return false;
}

}  // namespace

bool CheckRawMessage(std::string_view bytes) {
  if (bytes.size() > xml_limits::kMaxFileBytes) return false;
  constexpr std::string_view kDoctype = "<!DOCTYPE";
  if (bytes.find(kDoctype) != std::string_view::npos) return false;
  if (ContainsWide(bytes, kDoctype, false) || ContainsWide(bytes, kDoctype, true)) return false;
  return !HasCrowdedTag(bytes);
}

bool XmlTreeBuilder::StartElement(std::string_view name) {
  if (root_ || open_.size() >= xml_limits::kMaxDepth) return false;
  open_.emplace_back(std::string(name));
  return true;
}

bool XmlTreeBuilder::Characters(std::string_view text) {
  if (open_.empty()) return true;
  XmlElement& current = open_.back();
  if (current.OwnText().size() + text.size() > xml_limits::kMaxTextBytes) return false;
  current.AppendText(text);
  return true;
}

void XmlTreeBuilder::EndElement() {
  if (open_.empty()) return;
  XmlElement done = std::move(open_.back());
  open_.pop_back();
  if (open_.empty()) {
    root_ = std::move(done);
  } else {
    open_.back().AppendChild(std::move(done));
  }
}

std::optional<XmlElement> XmlTreeBuilder::Finish() {
  if (!open_.empty()) return std::nullopt;
  return std::move(root_);
}

}  // namespace kdzv
