#include "agent/send_message.h"

#include "agent/agent_xml.h"
#include "agent/message_path.h"

namespace kdzv::agent {

namespace {

constexpr std::string_view kNamespace = "http://www.zentavo.de/WebServices/ZVSync/xml/SyncZV.xsd";

std::string Header(const std::string& session, int msg_id) {
  return "<SyncHdr><VerDTD>1.0</VerDTD><VerProto>SyncZV/1.0</VerProto><SessionID>" + session +
         "</SessionID><MsgID>" + std::to_string(msg_id) +
         "</MsgID><Source><LocName>Zentavo</LocName><LocURI/></Source>"
         "<Target><LocName>Halvex</LocName><LocURI/></Target></SyncHdr>";
}

}  // namespace

std::string FillPlaceholders(std::string_view text, const Placeholders& values) {
  std::string out;
  out.reserve(text.size());
  size_t i = 0;
  while (i < text.size()) {
    if (text[i] == '{') {
      const std::string_view rest = text.substr(i);
      const std::pair<std::string_view, std::string> replacements[] = {
          {"{session}", values.session},
          {"{stem}", values.stem},
          {"{msg}", std::to_string(values.last + 1)},
          {"{last}", std::to_string(values.last)},
          {"{next}", std::to_string(values.last + 2)}};
      bool replaced = false;
      for (const auto& [placeholder, value] : replacements) {
        if (rest.substr(0, placeholder.size()) == placeholder) {
          out += value;
          i += placeholder.size();
          replaced = true;
          break;
        }
      }
      if (replaced) continue;
    }
    out.push_back(text[i++]);
  }
  return out;
}

std::string WrapBody(const std::vector<std::string>& lines, const Placeholders& values) {
  std::string body = "<SyncBody>";
  for (size_t i = 0; i < lines.size(); ++i) {
    if (i > 0) body += '\n';
    body += FillPlaceholders(lines[i], values);
  }
  body += "</SyncBody>";
  return body;
}

std::string BuildMessage(const std::vector<std::string>& lines, const Placeholders& values,
                         int msg_id) {
  return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<SyncML xmlns=\"" + std::string(kNamespace) +
         "\">" + Header(values.session, msg_id) + "\n" + WrapBody(lines, values) + "</SyncML>\n";
}

std::string BuildRaw(const std::vector<std::string>& lines, const Placeholders& values) {
  std::string out;
  for (const std::string& line : lines) out += FillPlaceholders(line, values) + "\n";
  return out;
}

int CountCommands(std::string_view body) {
  XmlProblem problem;
  const std::optional<XmlElement> root = ParseAgentXml(body, problem);
  if (!root) return -1;
  int count = 0;
  for (const XmlElement& child : root->Children()) {
    if (!SameName(child.Name(), "Final")) ++count;
  }
  return count;
}

}  // namespace kdzv::agent
