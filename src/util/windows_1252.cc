#include "util/windows_1252.h"

#include <cstdint>

namespace kdzv {

namespace {

// The characters of bytes 0x80..0x9F. Bytes that Windows leaves undefined
// (0x81, 0x8D, 0x8F, 0x90, 0x9D) stand for the C1 control of the same value,
// as Windows' own conversion table has it.
constexpr char32_t kHighControls[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

char Encode(char32_t c) {
  if (c < 0x80 || (c >= 0xA0 && c <= 0xFF)) return static_cast<char>(c);
  for (int i = 0; i < 32; ++i) {
    if (kHighControls[i] == c) return static_cast<char>(0x80 + i);
  }
  return '?';
}

// Decodes one UTF-8 sequence at `text[i]`; advances `i` past it. Returns
// U+FFFD's stand-in (a value the code page lacks) for a malformed sequence,
// consuming one byte.
char32_t Decode(std::string_view text, size_t& i) {
  const auto lead = static_cast<unsigned char>(text[i]);
  if (lead < 0x80) {
    ++i;
    return lead;
  }
  size_t length = 0;
  char32_t value = 0;
  char32_t minimum = 0;
  if ((lead & 0xE0) == 0xC0) {
    length = 2, value = lead & 0x1F, minimum = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    length = 3, value = lead & 0x0F, minimum = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    length = 4, value = lead & 0x07, minimum = 0x10000;
  } else {
    ++i;
    return 0xFFFD;
  }
  if (i + length > text.size()) {
    ++i;
    return 0xFFFD;
  }
  for (size_t k = 1; k < length; ++k) {
    const auto next = static_cast<unsigned char>(text[i + k]);
    if ((next & 0xC0) != 0x80) {
      ++i;
      return 0xFFFD;
    }
    value = (value << 6) | (next & 0x3F);
  }
  if (value < minimum || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) {
    ++i;
    return 0xFFFD;
  }
  i += length;
  return value;
}

void AppendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out.push_back(static_cast<char>(c));
  } else if (c < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (c >> 6)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else {  // the code page reaches no further than U+FFFF
    out.push_back(static_cast<char>(0xE0 | (c >> 12)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  }
}

}  // namespace

void AppendUtf8ToWindows1252(std::string& out, std::string_view utf8) {
  size_t i = 0;
  while (i < utf8.size()) {
    // Runs of ASCII, the bulk of a message, go over as they are, at once.
    size_t run = i;
    while (run < utf8.size() && static_cast<unsigned char>(utf8[run]) < 0x80) ++run;
    out.append(utf8.data() + i, run - i);
    i = run;
    if (i < utf8.size()) out.push_back(Encode(Decode(utf8, i)));
  }
}

std::string Utf8ToWindows1252(std::string_view utf8) {
  std::string out;
  out.reserve(utf8.size());
  AppendUtf8ToWindows1252(out, utf8);
  return out;
}

std::string Windows1252ToUtf8(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  for (char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    if (value < 0x80) {
      out.push_back(byte);
    } else if (value < 0xA0) {
      AppendUtf8(out, kHighControls[value - 0x80]);
    } else {
      AppendUtf8(out, value);
    }
  }
  return out;
}

}  // namespace kdzv
