#include "message/message_text.h"

namespace kdzv {

std::string MessageNamespace(std::string_view host) {
  std::string ns = "http://";
  ns += host;
  ns += "/WebServices/ZVSync/xml/SyncZV.xsd";
  return ns;
}

std::string TransliterateGerman(std::string_view text) {
  // The replaced letters are two-byte UTF-8 sequences (C3 xx) and their
  // replacements plain ASCII, so one pass gives what replacing each letter
  // in turn gives.
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (static_cast<unsigned char>(text[i]) == 0xC3 && i + 1 < text.size()) {
      const char* pair = nullptr;
      switch (static_cast<unsigned char>(text[i + 1])) {
        case 0xA4: case 0x84: pair = "ae"; break;  // ä Ä
        case 0xBC: case 0x9C: pair = "ue"; break;  // ü Ü
        case 0xB6: case 0x96: pair = "oe"; break;  // ö Ö
        case 0x9F: pair = "ss"; break;             // ß
        default: break;
      }
      if (pair != nullptr) {
        out.append(pair);
        ++i;
        continue;
      }
    }
    out.push_back(text[i]);
  }
  return out;
}

std::string ComposeMessageText(const XmlElement& root, std::string_view host) {
  std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";
  text += SerializeXml(root);

  const std::string plain_root = "<SyncML>";
  const std::string with_namespace = "<SyncML xmlns=\"" + MessageNamespace(host) + "\">";
  std::string replaced;
  replaced.reserve(text.size() + with_namespace.size());
  size_t start = 0;
  for (size_t found = text.find(plain_root); found != std::string::npos;
       found = text.find(plain_root, start)) {
    replaced.append(text, start, found - start);
    replaced.append(with_namespace);
    start = found + plain_root.size();
  }
  replaced.append(text, start, std::string::npos);

  std::string result = TransliterateGerman(replaced);
  result.append("\r\n");
  return result;
}

}  // namespace kdzv
