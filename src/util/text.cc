#include "util/text.h"

namespace kdzv {
namespace {

// The text with every ASCII and Latin-1 letter in upper or lower case; all
// other bytes stay. Folding keeps the length in bytes, so it works in place
// on a copy.
std::string Fold(std::string_view text, bool upper) {
  std::string out(text);
  const size_t size = out.size();
  for (size_t i = 0; i < size; ++i) {
    const auto c = static_cast<unsigned char>(out[i]);
    if (c < 0x80) {
      if (upper ? (c >= 'a' && c <= 'z') : (c >= 'A' && c <= 'Z')) {
        out[i] = static_cast<char>(c ^ 0x20);
      }
      continue;
    }
    // Latin-1 letters are encoded as C3 80..C3 BF; upper case 80..9E (except
    // the multiplication sign 97), lower case A0..BE (except division sign B7).
    if (c == 0xC3 && i + 1 < size) {
      auto d = static_cast<unsigned char>(out[i + 1]);
      if (upper && d >= 0xA0 && d <= 0xBE && d != 0xB7) d = static_cast<unsigned char>(d - 0x20);
      if (!upper && d >= 0x80 && d <= 0x9E && d != 0x97) d = static_cast<unsigned char>(d + 0x20);
      out[i + 1] = static_cast<char>(d);
      ++i;
    }
  }
  return out;
}

}  // namespace

std::string ToUpper(std::string_view text) { return Fold(text, true); }
std::string ToLower(std::string_view text) { return Fold(text, false); }

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;  // folding keeps byte lengths
  // ASCII alone needs no copies.
  size_t i = 0;
  for (; i < a.size(); ++i) {
    const auto x = static_cast<unsigned char>(a[i]);
    const auto y = static_cast<unsigned char>(b[i]);
    if ((x | y) >= 0x80) break;
    if (x != y && ((x | 0x20) != (y | 0x20) || (x | 0x20) < 'a' || (x | 0x20) > 'z')) return false;
  }
  if (i == a.size()) return true;
  return ToUpper(a) == ToUpper(b);
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
