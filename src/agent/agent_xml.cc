#include "agent/agent_xml.h"

#include <cstdint>
#include <vector>

#include "message/xml_parser.h"

namespace kdzv::agent {

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

bool IsNameChar(char c) {
  return !IsBlank(c) && c != '<' && c != '>' && c != '/' && c != '=' && c != '"' && c != '\'' &&
         c != '&';
}

void AppendUtf8(std::string& out, uint32_t c) {
  if (c < 0x80) {
    out.push_back(static_cast<char>(c));
  } else if (c < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (c >> 6)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else if (c < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (c >> 12)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (c >> 18)));
    out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  }
}

class Reader {
 public:
  Reader(std::string_view text, XmlProblem& problem) : s_(text), problem_(problem) {}

  std::optional<XmlElement> Run() {
    if (s_.substr(0, 3) == "\xEF\xBB\xBF") i_ = 3;
    while (i_ < s_.size()) {
      const bool ok = s_[i_] == '<' ? Markup() : Text();
      if (!ok) return std::nullopt;
    }
    if (!open_.empty()) {
      Fail("the document ends inside <" + open_.back() + ">");
      return std::nullopt;
    }
    if (!root_done_) {
      Fail("the document holds no element");
      return std::nullopt;
    }
    return builder_.Finish();
  }

 private:
  bool Fail(std::string reason) {
    problem_.reason = std::move(reason);
    problem_.line = 1;
    for (size_t k = 0; k < i_ && k < s_.size(); ++k) {
      if (s_[k] == '\n') ++problem_.line;
    }
    return false;
  }

  bool StartsWith(std::string_view prefix) const { return s_.substr(i_, prefix.size()) == prefix; }

  // Moves past `terminator`; false at the end of the text.
  bool SkipPast(std::string_view terminator, const char* what) {
    const size_t end = s_.find(terminator, i_);
    if (end == std::string_view::npos) {
      i_ = s_.size();
      return Fail(std::string("the document ends inside ") + what);
    }
    i_ = end + terminator.size();
    return true;
  }

  void SkipBlanks() {
    while (i_ < s_.size() && IsBlank(s_[i_])) ++i_;
  }

  std::string_view Name() {
    const size_t start = i_;
    while (i_ < s_.size() && IsNameChar(s_[i_])) ++i_;
    return s_.substr(start, i_ - start);
  }

  bool Markup() {
    if (StartsWith("<?")) return SkipPast("?>", "a processing instruction");
    if (StartsWith("<!--")) return SkipPast("-->", "a comment");
    if (StartsWith("<![CDATA[")) {
      if (open_.empty()) return Fail("a CDATA section outside the document element");
      const size_t start = i_ + 9;
      i_ = start;
      const size_t end = s_.find("]]>", start);
      if (end == std::string_view::npos) {
        i_ = s_.size();
        return Fail("the document ends inside a CDATA section");
      }
      i_ = end + 3;
      return Characters(s_.substr(start, end - start));
    }
    if (StartsWith("<!")) return Fail("a document type declaration is not accepted");
    if (StartsWith("</")) return EndTag();
    return StartTag();
  }

  bool StartTag() {
    ++i_;
    const std::string_view name = Name();
    if (name.empty()) return Fail("a \"<\" without an element name");
    if (root_done_) return Fail("a second document element <" + std::string(name) + ">");
    while (true) {
      SkipBlanks();
      if (i_ >= s_.size()) return Fail("the document ends inside the tag <" + std::string(name));
      if (s_[i_] == '>') {
        ++i_;
        return Open(name);
      }
      if (StartsWith("/>")) {
        i_ += 2;
        return Open(name) && Close();
      }
      const std::string_view attribute = Name();
      if (attribute.empty()) {
        return Fail("unexpected \"" + std::string(1, s_[i_]) + "\" in the tag <" +
                    std::string(name) + ">");
      }
      SkipBlanks();
      if (i_ >= s_.size() || s_[i_] != '=') {
        return Fail("the attribute " + std::string(attribute) + " has no value");
      }
      ++i_;
      SkipBlanks();
      if (i_ >= s_.size() || (s_[i_] != '"' && s_[i_] != '\'')) {
        return Fail("the value of the attribute " + std::string(attribute) + " is not quoted");
      }
      const char quote = s_[i_++];
      const size_t end = s_.find(quote, i_);
      if (end == std::string_view::npos) {
        i_ = s_.size();
        return Fail("the document ends inside an attribute value");
      }
      if (s_.substr(i_, end - i_).find('<') != std::string_view::npos) {
        return Fail("\"<\" in the value of the attribute " + std::string(attribute));
      }
      i_ = end + 1;
    }
  }

  bool Open(std::string_view name) {
    if (!builder_.StartElement(name)) return Fail("elements nested too deeply");
    open_.emplace_back(name);
    return true;
  }

  bool Close() {
    builder_.EndElement();
    open_.pop_back();
    if (open_.empty()) root_done_ = true;
    return true;
  }

  bool EndTag() {
    i_ += 2;
    const std::string_view name = Name();
    SkipBlanks();
    if (i_ >= s_.size()) return Fail("the document ends inside the end tag </" + std::string(name));
    if (s_[i_] != '>') return Fail("unexpected \"" + std::string(1, s_[i_]) + "\" in an end tag");
    if (open_.empty()) return Fail("the end tag </" + std::string(name) + "> closes nothing");
    if (open_.back() != name) {
      return Fail("the end tag </" + std::string(name) + "> does not close <" + open_.back() + ">");
    }
    ++i_;
    return Close();
  }

  bool Text() {
    const size_t start = i_;
    const size_t end = s_.find('<', i_);
    i_ = end == std::string_view::npos ? s_.size() : end;
    const std::string_view raw = s_.substr(start, i_ - start);
    if (open_.empty()) {
      for (char c : raw) {
        if (!IsBlank(c)) {
          i_ = start;
          return Fail("text outside the document element");
        }
      }
      return true;
    }
    std::string text;
    text.reserve(raw.size());
    for (size_t k = 0; k < raw.size(); ++k) {
      if (raw[k] != '&') {
        text.push_back(raw[k]);
        continue;
      }
      const size_t semicolon = raw.find(';', k);
      if (semicolon == std::string_view::npos) {
        i_ = start + k;
        return Fail("\"&\" without \";\"");
      }
      const std::string_view entity = raw.substr(k + 1, semicolon - k - 1);
      if (!Entity(entity, text)) {
        i_ = start + k;
        return Fail("unknown entity &" + std::string(entity) + ";");
      }
      k = semicolon;
    }
    return Characters(text);
  }

  static bool Entity(std::string_view entity, std::string& out) {
    if (entity == "lt") return out.push_back('<'), true;
    if (entity == "gt") return out.push_back('>'), true;
    if (entity == "amp") return out.push_back('&'), true;
    if (entity == "quot") return out.push_back('"'), true;
    if (entity == "apos") return out.push_back('\''), true;
    if (entity.size() < 2 || entity[0] != '#') return false;
    const bool hex = entity[1] == 'x';
    const std::string_view digits = entity.substr(hex ? 2 : 1);
    if (digits.empty() || digits.size() > 8) return false;
    uint32_t value = 0;
    for (char c : digits) {
      uint32_t digit;
      if (c >= '0' && c <= '9') {
        digit = static_cast<uint32_t>(c - '0');
      } else if (hex && c >= 'a' && c <= 'f') {
        digit = static_cast<uint32_t>(c - 'a' + 10);
      } else if (hex && c >= 'A' && c <= 'F') {
        digit = static_cast<uint32_t>(c - 'A' + 10);
      } else {
        return false;
      }
      value = value * (hex ? 16u : 10u) + digit;
    }
    if (value == 0 || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) return false;
    AppendUtf8(out, value);
    return true;
  }

  bool Characters(std::string_view text) {
    if (!builder_.Characters(text)) return Fail("too much text in one element");
    return true;
  }

  std::string_view s_;
  XmlProblem& problem_;
  size_t i_ = 0;
  XmlTreeBuilder builder_;
  std::vector<std::string> open_;
  bool root_done_ = false;
};

}  // namespace

std::optional<XmlElement> ParseAgentXml(std::string_view utf8, XmlProblem& problem) {
  return Reader(utf8, problem).Run();
}

}  // namespace kdzv::agent
