// Text helpers for UTF-8 strings.
//
// Case-insensitive comparisons fold ASCII letters and the Latin-1 letters
// (so "Ä" equals "ä"); other characters compare as they are.
#ifndef KDZV_UTIL_TEXT_H_
#define KDZV_UTIL_TEXT_H_

#include <string>
#include <string_view>

namespace kdzv {

std::string ToUpper(std::string_view text);
std::string ToLower(std::string_view text);
bool EqualsIgnoreCase(std::string_view a, std::string_view b);

// A name of lower-case ASCII letters only, checked when the program is
// compiled: what an element name is compared with.
class LowerName {
 public:
  consteval LowerName(const char* text)  // NOLINT(google-explicit-constructor)
      : view_(text) {
    for (const char c : view_) {
      if (c < 'a' || c > 'z') throw "a lower-case name holds only the letters a to z";
    }
  }
  std::string_view view() const { return view_; }

 private:
  std::string_view view_;
};

// Whether `name` is `lower` regardless of case: the same answer as
// EqualsIgnoreCase, without folding (only an ASCII letter of either case can
// match a letter of `lower`).
inline bool NameIs(std::string_view name, LowerName lower) {
  const std::string_view want = lower.view();
  if (name.size() != want.size()) return false;
  for (size_t i = 0; i < want.size(); ++i) {
    if ((static_cast<unsigned char>(name[i]) | 0x20) != static_cast<unsigned char>(want[i])) {
      return false;
    }
  }
  return true;
}

// Removes leading and trailing blanks, tabs, CR and LF. Inline: the message
// reader trims the text of every field it reads.
inline std::string_view Trim(std::string_view text) {
  const auto is_blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
  const char* begin = text.data();
  const char* end = begin + text.size();
  while (begin < end && is_blank(*begin)) ++begin;
  while (end > begin && is_blank(end[-1])) --end;
  return std::string_view(begin, static_cast<size_t>(end - begin));
}

// The longest text that IsPlainFileNamePart accepts, in bytes.
inline constexpr size_t kMaxFileNamePart = 100;

// Whether `text` may stand inside a file name in any folder, on Windows and
// on Linux alike: no folder separator or drive colon, none of * ? " < > |,
// no control character, not "." or "..", at most kMaxFileNamePart bytes.
// The empty text is a plain part.
bool IsPlainFileNamePart(std::string_view text);

}  // namespace kdzv

#endif  // KDZV_UTIL_TEXT_H_
