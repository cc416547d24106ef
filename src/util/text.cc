#include "util/text.h"

namespace kdzv {
namespace {

// Maps one character of `text` starting at `i` to its upper- or lower-case
// form and appends it to `out`; returns the number of bytes consumed.
size_t FoldOne(std::string_view text, size_t i, bool upper, std::string& out) {
  const auto c = static_cast<unsigned char>(text[i]);
  if (c < 0x80) {
    char ch = text[i];
    if (upper && ch >= 'a' && ch <= 'z') ch = static_cast<char>(ch - 'a' + 'A');
    if (!upper && ch >= 'A' && ch <= 'Z') ch = static_cast<char>(ch - 'A' + 'a');
    out.push_back(ch);
    return 1;
  }
  // Latin-1 letters are encoded as C3 80..C3 BF; upper case 80..9E (except
  // the multiplication sign 97), lower case A0..BE (except division sign B7).
  if (c == 0xC3 && i + 1 < text.size()) {
    auto d = static_cast<unsigned char>(text[i + 1]);
    if (upper && d >= 0xA0 && d <= 0xBE && d != 0xB7) d = static_cast<unsigned char>(d - 0x20);
    if (!upper && d >= 0x80 && d <= 0x9E && d != 0x97) d = static_cast<unsigned char>(d + 0x20);
    out.push_back(text[i]);
    out.push_back(static_cast<char>(d));
    return 2;
  }
  out.push_back(text[i]);
  return 1;
}

std::string Fold(std::string_view text, bool upper) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size();) i += FoldOne(text, i, upper, out);
  return out;
}

}  // namespace

std::string ToUpper(std::string_view text) { return Fold(text, true); }
std::string ToLower(std::string_view text) { return Fold(text, false); }

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;  // folding keeps byte lengths
  return ToUpper(a) == ToUpper(b);
}

std::string_view Trim(std::string_view text) {
  constexpr std::string_view kBlank = " \t\r\n";
  const size_t first = text.find_first_not_of(kBlank);
  if (first == std::string_view::npos) return {};
  const size_t last = text.find_last_not_of(kBlank);
  return text.substr(first, last - first + 1);
}

bool IsPlainFileNamePart(std::string_view text) {
  if (text.size() > kMaxFileNamePart || text == "." || text == "..") return false;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7f) return false;
    switch (c) {
      case '/': case '\\': case ':': case '*': case '?': case '"': case '<': case '>': case '|':
        return false;
      default: break;
    }
  }
  return true;
}

}  // namespace kdzv
