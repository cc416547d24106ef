// The text of a message file as the writer produces it from the document:
//
//   <?xml version="1.0" encoding="utf-8"?><SyncML xmlns="http://HOST/...">...</SyncML>CR LF
//
// with the German letters transliterated over the whole text. The file
// system writes it in the system's single-byte code page (so, although the
// prolog says utf-8, an e with acute accent is one byte).
#ifndef KDZV_MESSAGE_MESSAGE_TEXT_H_
#define KDZV_MESSAGE_MESSAGE_TEXT_H_

#include <string>
#include <string_view>

#include "message/xml_element.h"

namespace kdzv {

// The namespace of a message for the service's web host `host`:
// "http://" + host + "/WebServices/ZVSync/xml/SyncZV.xsd".
std::string MessageNamespace(std::string_view host);

// ä, Ä -> "ae"; ü, Ü -> "ue"; ö, Ö -> "oe"; ß -> "ss" (so an upper-case
// umlaut becomes a lower-case pair: "ÄRZTE" -> "aeRZTE").
std::string TransliterateGerman(std::string_view text);

// Appends `text` to `out` transliterated as TransliterateGerman does.
void AppendTransliterated(std::string& out, std::string_view text);

// The start of a message's text up to the root's start tag, with the
// namespace: the prolog and "<SyncML xmlns=...>", transliterated. What
// ComposeMessageText gives before the root's children.
std::string MessageTextStart(std::string_view host);

// The whole text of the file for the document element `root`, final CR LF
// included.
std::string ComposeMessageText(const XmlElement& root, std::string_view host);

}  // namespace kdzv

#endif  // KDZV_MESSAGE_MESSAGE_TEXT_H_
