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

std::vector<std::string> AppointmentLines(int count) {
  std::vector<std::string> lines;
  lines.reserve(static_cast<size_t>(count) + 1);
  const auto two = [](int n) { return std::string(n < 10 ? "0" : "") + std::to_string(n); };
  for (int i = 1; i <= count; ++i) {
    // Twenty appointments a day, on the first 28 days of each month of 2025.
    const int day = (i - 1) / 20;
    const std::string date = "2025" + two(day / 28 % 12 + 1) + two(day % 28 + 1) + "T";
    const int slot = (i - 1) % 20;
    const std::string start = date + two(6 + slot / 2) + (slot % 2 == 0 ? "00" : "30") + "00Z";
    const std::string end = date + two(6 + slot / 2) + (slot % 2 == 0 ? "25" : "55") + "00Z";
    const std::string n = std::to_string(i);
    const std::string calendar = std::to_string(i % 3 + 1);
    lines.push_back("<Add><CmdID>" + n + "</CmdID><VEvent><Source>ZV-" + n + "</Source><DTStart>" +
                    start + "</DTStart><DTEnd>" + end + "</DTEnd><Comment>Kontrolle " + n +
                    "</Comment><Block>false</Block><Status>Booked</Status><Calendar><Source>CAL-" +
                    calendar + "</Source><Target>" + calendar +
                    "</Target><Title>Dr. Weiß</Title></Calendar><Customer><FirstName>Lena"
                    "</FirstName><LastName>Groß " + n + "</LastName><DateOfBirth>19881009"
                    "</DateOfBirth><City>Köln</City></Customer><Attribute><Source>ATT-1</Source>"
                    "<Target/><Title>Behandlungsart</Title><Value><Source>V-2</Source><Target>2"
                    "</Target><Title>Kontrolle</Title></Value></Attribute></VEvent></Add>");
  }
  lines.emplace_back("<Final/>");
  return lines;
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
