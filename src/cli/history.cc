#include "cli/history.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string_view>

#include "cli/quiet_reading.h"
#include "interface/file_system.h"
#include "message/up_down_file.h"
#include "util/error.h"
#include "util/text.h"
#include "util/windows_1252.h"

namespace kdzv {
namespace {

constexpr std::string_view kStartLine = "(StartSync) -> aufgerufen";
constexpr std::string_view kResultLine = "(StartSync) -> Rückgabewert ";
constexpr std::string_view kSessionIdLine = "[SyncForm_OnLog] Session-ID = :";

// --- Small text helpers ---

bool StartsWith(std::string_view text, std::string_view start) {
  return text.size() >= start.size() && text.compare(0, start.size(), start) == 0;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The number `text` holds entirely (digits only, at most 18), or nothing.
std::optional<int64_t> WholeNumber(std::string_view text) {
  if (text.empty() || text.size() > 18) return std::nullopt;
  int64_t value = 0;
  for (const char c : text) {
    if (!IsDigit(c)) return std::nullopt;
    value = value * 10 + (c - '0');
  }
  return value;
}

bool IsValidUtf8(std::string_view text) {
  size_t i = 0;
  while (i < text.size()) {
    const auto c = static_cast<unsigned char>(text[i]);
    size_t more = 0;
    if (c < 0x80) {
      more = 0;
    } else if ((c & 0xE0) == 0xC0 && c >= 0xC2) {
      more = 1;
    } else if ((c & 0xF0) == 0xE0) {
      more = 2;
    } else if ((c & 0xF8) == 0xF0 && c <= 0xF4) {
      more = 3;
    } else {
      return false;
    }
    if (more > 0 && i + more >= text.size()) return false;
    for (size_t k = 1; k <= more; ++k) {
      if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return false;
    }
    i += more + 1;
  }
  return true;
}

// A whole file's bytes; nothing when it cannot be read.
std::optional<std::string> ReadWholeFile(const std::string& utf8_path) {
  const std::u8string name(utf8_path.begin(), utf8_path.end());
  std::ifstream in(std::filesystem::path(name), std::ios::binary);
  if (!in) return std::nullopt;
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

// The session and message numbers of a name "...<session>_<message>.xml".
struct NameNumbers {
  int64_t session = -1;
  int64_t message = -1;
};

NameNumbers NumbersOfName(std::string_view name) {
  NameNumbers numbers;
  if (name.size() < 4 || !EqualsIgnoreCase(name.substr(name.size() - 4), ".xml")) return numbers;
  name.remove_suffix(4);
  const size_t cut = name.rfind('_');
  if (cut == std::string_view::npos) return numbers;
  const std::optional<int64_t> message = WholeNumber(name.substr(cut + 1));
  size_t begin = cut;
  while (begin > 0 && IsDigit(name[begin - 1])) --begin;
  const std::optional<int64_t> session = WholeNumber(name.substr(begin, cut - begin));
  if (!message || !session) return numbers;
  numbers.session = *session;
  numbers.message = *message;
  return numbers;
}

// A log date "dd.mm.yyyy" or "yyyy-mm-dd" and time "hh:nn:ss".
std::optional<DateTime> LogTime(std::string_view date, std::string_view time) {
  int year = 0, month = 0, day = 0;
  auto number = [](std::string_view text) { return WholeNumber(text).value_or(-1); };
  if (date.size() == 10 && date[2] == '.' && date[5] == '.') {
    day = static_cast<int>(number(date.substr(0, 2)));
    month = static_cast<int>(number(date.substr(3, 2)));
    year = static_cast<int>(number(date.substr(6, 4)));
  } else if (date.size() == 10 && date[4] == '-' && date[7] == '-') {
    year = static_cast<int>(number(date.substr(0, 4)));
    month = static_cast<int>(number(date.substr(5, 2)));
    day = static_cast<int>(number(date.substr(8, 2)));
  } else {
    return std::nullopt;
  }
  if (year < 1900 || month < 1 || month > 12 || day < 1 || day > 31) return std::nullopt;
  int hour = 0, minute = 0, second = 0;
  if (time.size() == 8 && time[2] == ':' && time[5] == ':') {
    hour = static_cast<int>(number(time.substr(0, 2)));
    minute = static_cast<int>(number(time.substr(3, 2)));
    second = static_cast<int>(number(time.substr(6, 2)));
    if (hour < 0 || minute < 0 || second < 0) hour = minute = second = 0;
  }
  return DateTime::FromFields({year, month, day, hour, minute, second});
}

// --- The log ---

struct LogSpan {
  int64_t session = -1;
  std::optional<DateTime> time;
  std::vector<HistoryLogLine> lines;
  std::optional<int> result;
};

// The spans of the log text `text` (older part first), each from a start
// line to its result line (or to the next start, or the end).
void ReadSpans(const std::string& raw, std::vector<LogSpan>& spans) {
  const std::string text = IsValidUtf8(raw) ? raw : Windows1252ToUtf8(raw);
  bool open = false;
  size_t begin = 0;
  while (begin < text.size()) {
    size_t end = text.find('\n', begin);
    if (end == std::string::npos) end = text.size();
    std::string_view line(text.data() + begin, end - begin);
    begin = end + 1;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    HistoryLogLine entry;
    std::string_view message = line;
    std::optional<DateTime> when;
    const size_t tab1 = line.find('\t');
    const size_t tab2 = tab1 == std::string_view::npos ? tab1 : line.find('\t', tab1 + 1);
    if (tab2 != std::string_view::npos) {
      const std::string_view date = line.substr(0, tab1);
      const std::string_view time = line.substr(tab1 + 1, tab2 - tab1 - 1);
      entry.time = std::string(date) + " " + std::string(time);
      message = line.substr(tab2 + 1);
      when = LogTime(date, time);
    }
    entry.text = std::string(message);
    if (message == kStartLine) {
      spans.emplace_back();
      open = true;
    }
    if (!open) continue;
    LogSpan& span = spans.back();
    if (!span.time && when) span.time = when;
    if (StartsWith(message, kSessionIdLine) && span.session < 0) {
      span.session = WholeNumber(Trim(message.substr(kSessionIdLine.size()))).value_or(-1);
    }
    entry.failure = IsFailureLogLine(entry.text);
    if (StartsWith(message, kResultLine)) {
      const std::optional<int64_t> result = WholeNumber(Trim(message.substr(kResultLine.size())));
      if (result) span.result = static_cast<int>(*result);
      entry.failure = result.value_or(1) != 0;
      span.lines.push_back(std::move(entry));
      open = false;
      continue;
    }
    span.lines.push_back(std::move(entry));
  }
}

// --- The depot ---

std::string Quoted(std::string_view text) { return "\"" + std::string(text) + "\""; }

std::string PatientName(const clZVCustomer& customer) {
  std::string name = customer.FirstName;
  if (!customer.LastName.empty()) {
    if (!name.empty()) name += ' ';
    name += customer.LastName;
  }
  return name;
}

std::string Minutes(DateTime value) { return value.Format("yyyy-mm-dd hh:nn"); }

std::string Appointment(const clZVTermin& t) {
  std::string text = "service id " + t.Source;
  if (!t.Target.empty()) text += " (host id " + t.Target + ")";
  const std::string patient = PatientName(t.Customer);
  if (!patient.empty()) text += ", patient " + Quoted(patient);
  text += ", start " + Minutes(t.StartDateTime());
  if (!t.Calendar.Title.empty()) text += ", calendar " + Quoted(t.Calendar.Title);
  if (!t.Status.empty()) text += ", status " + t.Status;
  return text;
}

// Reads one message of the depot into `session`; a file the reader refuses
// is kept as refused with the reader's own words.
void ReadMessage(const std::string& path, const std::string& name, HistorySession& session,
                 HistoryMessage& message, CliContext& context) {
  CollectedLines reported;
  clZVUpDownFile reader(context.xml_parser, context.file_system, "");
  bool read = false;
  try {
    QuietReading quiet(&reported);
    read = reader.AnalyzeDownFile(path);
  } catch (const std::exception& e) {
    reported.lines.emplace_back(e.what());
  } catch (...) {
    reported.lines.emplace_back("unknown failure");
  }
  if (!read) {
    message.refused = true;
    for (const std::string& line : reported.lines) {
      if (!message.reason.empty()) message.reason += " / ";
      message.reason += line;
    }
    return;
  }
  const clZVSyncHdr& header = reader.SyncHdr();
  if (const auto number = WholeNumber(Trim(header.SessionID))) session.number = *number;
  if (header.MsgID > 0) message.msg_id = header.MsgID;
  auto add = [&](std::string kind, std::string text) {
    session.commands.push_back(HistoryCommand{name, std::move(kind), std::move(text)});
  };
  for (const auto& item : reader.AddCalendarCol()) {
    const clZVCalendar& c = *item->Calendar;
    add("calendar added", c.Source + " " + Quoted(c.Title));
  }
  for (const auto& item : reader.AddAttributesCol()) {
    const auto& a = *item->AAttribute;
    std::string values;
    for (const auto& value : a.Values) {
      values += values.empty() ? ": " : ", ";
      values += Quoted(value->Title);
    }
    add("attribute added", a.Source + " " + Quoted(a.Title) + values);
  }
  for (const auto& item : reader.AddTerminCol()) add("appointment added", Appointment(*item->Termin));
  for (const auto& item : reader.ReplaceTerminCol()) {
    add("appointment replaced", Appointment(*item->Termin));
  }
  for (const auto& item : reader.DeleteTerminCol()) {
    // A received delete names the service's id first, the host's second.
    std::string text = "service id " + item->TerminKey->TerminKeySource;
    if (!item->TerminKey->TerminKeyTarget.empty()) {
      text += " (host id " + item->TerminKey->TerminKeyTarget + ")";
    }
    add("appointment deleted", text);
  }
  if (reader.OpeningTimeRequested()) add("opening times requested", "");
}

bool Mentions(const std::string& text, const std::string& lowered_find) {
  return ToLower(text).find(lowered_find) != std::string::npos;
}

// A deleted appointment carries only its ids: the patient and start of the
// last add or replace of that service id before it are added.
void NameDeletedAppointments(std::vector<HistorySession>& sessions) {
  std::map<std::string, std::string> known;  // "service id X" -> ", patient ..., start ..."
  for (HistorySession& session : sessions) {
    for (HistoryCommand& command : session.commands) {
      const size_t id_end = command.text.find_first_of(" ,", std::string("service id ").size());
      const std::string id = command.text.substr(0, id_end);
      if (command.kind == "appointment added" || command.kind == "appointment replaced") {
        size_t patient = command.text.find(", patient ");
        if (patient == std::string::npos) patient = command.text.find(", start ");
        if (patient != std::string::npos) {
          const size_t calendar = command.text.find(", calendar ", patient);
          known[id] = command.text.substr(patient, calendar == std::string::npos
                                                       ? std::string::npos
                                                       : calendar - patient);
        }
      } else if (command.kind == "appointment deleted") {
        const auto found = known.find(id);
        if (found != known.end()) command.text += found->second + " (as last sent)";
      }
    }
  }
}

std::string Escape(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (const char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      case '\'': out += "&#39;"; break;
      default: out.push_back(c);
    }
  }
  return out;
}

std::string SessionTitle(const HistorySession& session) {
  return session.number >= 0 ? std::to_string(session.number) : std::string("(none)");
}

std::string SessionTime(const HistorySession& session) {
  return session.time ? session.time->Format("yyyy-mm-dd hh:nn:ss") : std::string("(unknown)");
}

std::string ResultText(const HistorySession& session) {
  return session.result ? std::to_string(*session.result) : std::string("(not in the log)");
}

size_t FailureCount(const HistorySession& session) {
  size_t count = 0;
  for (const HistoryLogLine& line : session.log) count += line.failure ? 1 : 0;
  for (const HistoryMessage& message : session.messages) count += message.refused ? 1 : 0;
  return count;
}

}  // namespace

bool IsFailureLogLine(const std::string& text) {
  static const char* const kSigns[] = {
      "error",       "fehler",     "meldung:",        "achtung",     "ignoriert",
      "probleme",    "abbruch",    "abgebrochen",     "timeout",     "nicht gelöscht",
      "nicht verschoben", "existiert nicht", "zeitüberschreitung", "abgewiesen"};
  const std::string lowered = ToLower(text);
  for (const char* sign : kSigns) {
    if (lowered.find(sign) != std::string::npos) return true;
  }
  return false;
}

std::vector<HistorySession> CollectHistory(const HistoryOptions& options, CliContext& context) {
  FileSystem& files = context.file_system;
  std::vector<HistorySession> sessions;
  std::map<int64_t, size_t> by_number;  // session number -> its latest entry

  // The log first: its spans name the sessions and their times.
  if (!options.log.empty()) {
    std::vector<LogSpan> spans;
    for (const std::string& path : {options.log + ".1", options.log}) {
      if (const std::optional<std::string> text = ReadWholeFile(path)) ReadSpans(*text, spans);
    }
    for (LogSpan& span : spans) {
      HistorySession session;
      session.number = span.session;
      session.time = span.time;
      session.log = std::move(span.lines);
      session.result = span.result;
      if (session.number >= 0) by_number[session.number] = sessions.size();
      sessions.push_back(std::move(session));
    }
  }

  // Then every message in the depot, each read once.
  std::vector<FolderEntry> entries = files.ListEntries(options.depot);
  std::sort(entries.begin(), entries.end(),
            [](const FolderEntry& a, const FolderEntry& b) { return a.name < b.name; });
  for (const FolderEntry& entry : entries) {
    if (entry.kind != FolderEntry::Kind::kFile) continue;
    if (entry.name.size() < 4 || !EqualsIgnoreCase(entry.name.substr(entry.name.size() - 4), ".xml")) {
      continue;
    }
    const NameNumbers numbers = NumbersOfName(entry.name);
    HistorySession read;
    read.number = numbers.session;
    HistoryMessage message;
    message.file = entry.name;
    message.msg_id = numbers.message;
    ReadMessage(files.BuildPath(options.depot, entry.name), entry.name, read, message, context);
    HistorySession* session = nullptr;
    if (read.number >= 0) {
      const auto found = by_number.find(read.number);
      if (found != by_number.end()) session = &sessions[found->second];
    }
    if (session == nullptr) {
      by_number[read.number] = sessions.size();
      sessions.push_back(HistorySession{});
      session = &sessions.back();
      session->number = read.number;
      if (!entry.last_write.IsZero()) session->time = entry.last_write;
    }
    if (!session->time && !entry.last_write.IsZero()) session->time = entry.last_write;
    session->messages.push_back(std::move(message));
    for (HistoryCommand& command : read.commands) session->commands.push_back(std::move(command));
  }

  for (HistorySession& session : sessions) {
    std::stable_sort(session.messages.begin(), session.messages.end(),
                     [](const HistoryMessage& a, const HistoryMessage& b) {
                       return a.msg_id < b.msg_id;
                     });
    std::map<std::string, int64_t> order;
    for (const HistoryMessage& message : session.messages) order[message.file] = message.msg_id;
    std::stable_sort(session.commands.begin(), session.commands.end(),
                     [&](const HistoryCommand& a, const HistoryCommand& b) {
                       return order[a.file] < order[b.file];
                     });
  }
  std::stable_sort(sessions.begin(), sessions.end(),
                   [](const HistorySession& a, const HistorySession& b) {
                     const double ta = a.time ? a.time->serial() : 0.0;
                     const double tb = b.time ? b.time->serial() : 0.0;
                     if (ta != tb) return ta < tb;
                     return a.number < b.number;
                   });
  NameDeletedAppointments(sessions);

  std::vector<HistorySession> kept;
  const std::string find = ToLower(options.find);
  for (HistorySession& session : sessions) {
    if (options.since && (!session.time || *session.time < *options.since)) continue;
    if (!find.empty()) {
      std::vector<HistoryCommand> matching;
      for (HistoryCommand& command : session.commands) {
        if (Mentions(command.kind + " " + command.text + " " + command.file, find)) {
          matching.push_back(std::move(command));
        }
      }
      bool mentioned = !matching.empty() || Mentions(SessionTitle(session), find);
      for (const HistoryLogLine& line : session.log) mentioned = mentioned || Mentions(line.text, find);
      for (const HistoryMessage& message : session.messages) {
        mentioned = mentioned || Mentions(message.file, find);
      }
      if (!mentioned) continue;
      session.commands = std::move(matching);
    }
    kept.push_back(std::move(session));
  }
  return kept;
}

void WriteHistoryText(std::ostream& out, const std::vector<HistorySession>& sessions) {
  if (sessions.empty()) out << "No session found.\n";
  for (const HistorySession& session : sessions) {
    out << "Session " << SessionTitle(session) << ", " << SessionTime(session) << ", result "
        << ResultText(session) << "\n";
    out << "  messages received (" << session.messages.size() << "):";
    for (const HistoryMessage& message : session.messages) out << " " << message.file;
    out << "\n";
    for (const HistoryMessage& message : session.messages) {
      if (!message.refused) continue;
      out << "  " << message.file << ": refused by the reader"
          << (message.reason.empty() ? "" : ": " + message.reason) << "\n";
    }
    for (const HistoryCommand& command : session.commands) {
      out << "  " << command.file << ": " << command.kind
          << (command.text.empty() ? "" : ": " + command.text) << "\n";
    }
    bool heading = false;
    for (const HistoryLogLine& line : session.log) {
      if (!line.failure) continue;
      if (!heading) out << "  failures in the log:\n";
      heading = true;
      out << "    " << (line.time.empty() ? "" : line.time + " ") << line.text << "\n";
    }
  }
}

std::string HistoryHtml(const std::vector<HistorySession>& sessions, const HistoryOptions& options) {
  std::ostringstream page;
  page << "<!DOCTYPE html>\n<html lang=\"de\">\n<head>\n<meta charset=\"utf-8\">\n"
          "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
          "style-src 'unsafe-inline'\">\n"
          "<title>kdZentavo: Verlauf der Synchronisationen</title>\n<style>\n"
          "body{font-family:sans-serif;margin:1.5em;color:#222}\n"
          ".warn{background:#fff3cd;border:1px solid #e0b400;padding:.6em 1em;margin-bottom:1em}\n"
          "table{border-collapse:collapse;width:100%}\n"
          "th,td{border:1px solid #bbb;padding:.35em .5em;vertical-align:top;text-align:left}\n"
          "th{background:#eee}\n.bad{color:#a00;font-weight:bold}\n"
          "ul{margin:.3em 0;padding-left:1.2em}\nli{margin:.15em 0}\n"
          "summary{cursor:pointer;white-space:nowrap}\ncode{font-size:90%}\n"
          "td:nth-child(-n+4){white-space:nowrap}\ntd:nth-child(5),td:nth-child(6){width:38%}\n"
          "</style>\n</head>\n<body>\n";
  page << "<h1>Verlauf der Synchronisationen</h1>\n";
  page << "<p class=\"warn\"><strong>Diese Seite enthält Patientendaten</strong> (Namen und "
          "Termine). Nur für den Support; nicht weitergeben und nach Gebrauch löschen. "
          "<em>This page holds patient data.</em></p>\n";
  page << "<p>Ablage: <code>" << Escape(options.depot) << "</code>";
  if (!options.log.empty()) page << ", Log: <code>" << Escape(options.log) << "</code>";
  if (!options.find.empty()) page << ", Suche: <code>" << Escape(options.find) << "</code>";
  page << ", " << sessions.size() << " Session(s)</p>\n";
  page << "<table>\n<thead><tr><th>Zeit</th><th>Session</th><th>Ergebnis</th>"
          "<th>Nachrichten</th><th>Kommandos</th><th>Log</th></tr></thead>\n<tbody>\n";
  for (const HistorySession& session : sessions) {
    const size_t failures = FailureCount(session);
    page << "<tr><td>" << Escape(session.time ? session.time->Format("yyyy-mm-dd hh:nn:ss")
                                              : std::string("(unbekannt)"))
         << "</td><td>" << Escape(session.number >= 0 ? std::to_string(session.number) : "(keine)")
         << "</td><td" << (session.result && *session.result == 0 ? "" : " class=\"bad\"") << ">"
         << Escape(session.result ? std::to_string(*session.result) : "(nicht im Log)")
         << "</td><td>";
    for (const HistoryMessage& message : session.messages) {
      page << "<div>" << Escape(message.file);
      if (message.refused) {
        page << " <span class=\"bad\">abgewiesen" << (message.reason.empty() ? "" : ": ")
             << Escape(message.reason) << "</span>";
      }
      page << "</div>";
    }
    page << "</td><td><details><summary>" << session.commands.size()
         << " Kommando(s)</summary><ul>";
    for (const HistoryCommand& command : session.commands) {
      page << "<li><code>" << Escape(command.file) << "</code> " << Escape(command.kind)
           << (command.text.empty() ? "" : ": ") << Escape(command.text) << "</li>";
    }
    // The log of a session with failures is open from the start.
    page << "</ul></details></td><td><details" << (failures > 0 ? " open" : "") << "><summary"
         << (failures > 0 ? " class=\"bad\"" : "")
         << ">" << session.log.size() << " Zeile(n), " << failures
         << " Fehler</summary><ul>";
    for (const HistoryLogLine& line : session.log) {
      page << "<li" << (line.failure ? " class=\"bad\"" : "") << ">" << Escape(line.time)
           << (line.time.empty() ? "" : " ") << Escape(line.text) << "</li>";
    }
    page << "</ul></details></td></tr>\n";
  }
  page << "</tbody>\n</table>\n</body>\n</html>\n";
  return page.str();
}

int RunHistory(const std::vector<std::string>& args, CliContext& context) {
  HistoryOptions options;
  auto usage = [&](const std::string& message) {
    context.err << "zvsync: " << message << " (see zvsync --help)\n";
    return kExitUsage;
  };
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (i + 1 >= args.size()) return usage("history: " + arg + " needs a value or is unknown");
    const std::string& value = args[++i];
    if (arg == "--depot") {
      options.depot = value;
    } else if (arg == "--log") {
      options.log = value;
    } else if (arg == "--since") {
      options.since = DateTime::ParseIsoText(value);
      if (!options.since || value.size() != 10) {
        return usage("history: not a date (YYYY-MM-DD): \"" + value + "\"");
      }
    } else if (arg == "--find") {
      options.find = value;
    } else if (arg == "--html") {
      options.html = value;
    } else {
      return usage("history: unknown option \"" + arg + "\"");
    }
  }
  if (options.depot.empty()) return usage("history needs --depot DIR");
  std::vector<HistorySession> sessions;
  try {
    sessions = CollectHistory(options, context);
  } catch (const Error& e) {
    context.err << "zvsync: history: the depot cannot be read: " << options.depot << " ("
                << e.description() << ")\n";
    return kExitFailure;
  }
  if (!options.log.empty() && !ReadWholeFile(options.log) && !ReadWholeFile(options.log + ".1")) {
    context.err << "zvsync: history: no log at " << options.log << "; the depot alone is shown\n";
  }
  WriteHistoryText(context.out, sessions);
  if (!options.html.empty()) {
    const std::u8string name(options.html.begin(), options.html.end());
    std::ofstream page(std::filesystem::path(name), std::ios::binary | std::ios::trunc);
    page << HistoryHtml(sessions, options);
    page.close();
    if (!page) {
      context.err << "zvsync: history: the page cannot be written: " << options.html << "\n";
      return kExitFailure;
    }
    context.out << "Page written: " << options.html << "\n";
  }
  return kExitOk;
}

}  // namespace kdzv
