#include "message/message_text.h"

#include <cstring>

namespace kdzv {

std::string MessageNamespace(std::string_view host) {
  std::string ns = "http://";
  ns += host;
  ns += "/WebServices/ZVSync/xml/SyncZV.xsd";
  return ns;
}

// Appends `text` to `out` with the German letters replaced. The replaced
// letters are two-byte UTF-8 sequences (C3 xx) and their replacements plain
// ASCII, so one pass gives what replacing each letter in turn gives.
void AppendTransliterated(std::string& out, std::string_view text) {
  size_t start = 0;
  while (start < text.size()) {
    const void* lead = std::memchr(text.data() + start, 0xC3, text.size() - start);
    if (lead == nullptr) break;
    const size_t i = static_cast<size_t>(static_cast<const char*>(lead) - text.data());
    if (i + 1 >= text.size()) break;
    const char* pair = nullptr;
    switch (static_cast<unsigned char>(text[i + 1])) {
      case 0xA4: case 0x84: pair = "ae"; break;  // ä Ä
      case 0xBC: case 0x9C: pair = "ue"; break;  // ü Ü
      case 0xB6: case 0x96: pair = "oe"; break;  // ö Ö
      case 0x9F: pair = "ss"; break;             // ß
      default: break;
    }
    if (pair == nullptr) {
      // Another letter of that block: it stays, and so does what follows it.
      out.append(text.substr(start, i + 1 - start));
      start = i + 1;
      continue;
    }
    out.append(text.substr(start, i - start));
    out.append(pair);
    start = i + 2;
  }
  out.append(text.substr(start));
}

std::string MessageTextStart(std::string_view host) {
  std::string text;
  AppendTransliterated(text, "<?xml version=\"1.0\" encoding=\"utf-8\"?><SyncML xmlns=\"" +
                                 MessageNamespace(host) + "\">");
  return text;
}

std::string TransliterateGerman(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  AppendTransliterated(out, text);
  return out;
}

std::string ComposeMessageText(const XmlElement& root, std::string_view host) {
  std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";
  text += SerializeXml(root);

  // One pass for the namespace and the letters: every "<SyncML>" becomes the
  // root with its namespace (transliterated like the rest of the text).
  const std::string_view plain_root = "<SyncML>";
  const std::string with_namespace = "<SyncML xmlns=\"" + MessageNamespace(host) + "\">";
  std::string result;
  result.reserve(text.size() + with_namespace.size() + 2);
  const std::string_view all(text);
  size_t start = 0;
  for (size_t found = all.find(plain_root); found != std::string_view::npos;
       found = all.find(plain_root, start)) {
    AppendTransliterated(result, all.substr(start, found - start));
    AppendTransliterated(result, with_namespace);
    start = found + plain_root.size();
  }
  AppendTransliterated(result, all.substr(start));
  result.append("\r\n");
  return result;
}

}  // namespace kdzv
