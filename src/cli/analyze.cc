#include "cli/analyze.h"

#include <sstream>
#include <string_view>

#include "cli/quiet_reading.h"
#include "interface/process.h"
#include "message/up_down_file.h"

namespace kdzv {

namespace {

// Shows every log line of the reader on the command's output, and keeps
// its message boxes from asking: each reported text is a log line too.
class PrintingLog : public ErrorLogTarget {
 public:
  explicit PrintingLog(std::ostream& out) : out_(out) {}
  void WriteLogLine(std::string_view text) override { out_ << "log: " << text << "\n"; }

 private:
  std::ostream& out_;
};

// A field as NAME="value", with quotes and backslashes escaped.
std::string Field(std::string_view name, std::string_view value) {
  std::string text(name);
  text += "=\"";
  for (char c : value) {
    if (c == '"' || c == '\\') text.push_back('\\');
    if (c == '\n') {
      text += "\\n";
    } else if (c == '\r') {
      text += "\\r";
    } else {
      text.push_back(c);
    }
  }
  text.push_back('"');
  return text;
}

std::string Flag(bool value) { return value ? "true" : "false"; }

std::string LocalTime(DateTime value) { return value.Format("yyyy-mm-dd hh:nn:ss"); }

void DescribeValue(std::ostream& out, std::string_view indent, const clZVAttributeValue& value) {
  out << indent << "value: " << Field("Source", value.Source) << " "
      << Field("Target", value.Target) << " " << Field("Title", value.Title) << "\n";
}

void DescribeAttribute(std::ostream& out, std::string_view indent,
                       const clZVAttributeMulti& attribute) {
  out << Field("Source", attribute.Source) << " " << Field("Target", attribute.Target) << " "
      << Field("Title", attribute.Title) << "\n";
  for (const auto& value : attribute.Values) DescribeValue(out, indent, *value);
}

void DescribeTermin(std::ostream& out, const clZVTermin& t) {
  out << Field("Source", t.Source) << " " << Field("Target", t.Target) << " "
      << Field("Status", t.Status) << " Cancel=" << Flag(t.Cancel) << " Block=" << Flag(t.Block)
      << "\n";
  out << "    DTStart=" << Field("", t.DTStart()).substr(1) << " (local "
      << LocalTime(t.StartDateTime()) << ") DTEnd=" << Field("", t.DTEnd()).substr(1)
      << " (local " << LocalTime(t.EndDateTime()) << ")\n";
  out << "    " << Field("Comment", t.Comment) << "\n";
  const clZVCustomer& c = t.Customer;
  out << "    customer: " << Field("Title", c.Title) << " " << Field("FirstName", c.FirstName)
      << " " << Field("LastName", c.LastName) << " " << Field("DateOfBirth", c.DateOfBirth)
      << "\n              " << Field("Address", c.Address) << " "
      << Field("PostalCode", c.PostalCode) << " " << Field("City", c.City) << " "
      << Field("Phone", c.Phone) << " " << Field("Email", c.Email) << "\n";
  out << "    calendar: " << Field("Source", t.Calendar.Source) << " "
      << Field("Target", t.Calendar.Target) << " " << Field("Title", t.Calendar.Title) << "\n";
  for (const auto& attribute : t.Attributes) {
    out << "    attribute: " << Field("Source", attribute->Source) << " "
        << Field("Target", attribute->Target) << " " << Field("Title", attribute->Title) << "\n";
    if (const auto* multi = dynamic_cast<const clZVAttributeMulti*>(attribute.get())) {
      for (const auto& value : multi->Values) DescribeValue(out, "      ", *value);
    } else if (const auto value = attribute->FirstValue()) {
      DescribeValue(out, "      ", *value);
    }
  }
}

}  // namespace

std::string DescribeMessage(clZVUpDownFile& message) {
  std::ostringstream out;
  const clZVSyncHdr& h = message.SyncHdr();
  out << "header: " << Field("VerDTD", h.VerDTD) << " " << Field("VerProto", h.VerProto) << " "
      << Field("SessionID", h.SessionID) << " MsgID=" << h.MsgID << "\n";
  out << "  source: " << Field("LocName", h.Source.LocName) << " "
      << Field("LocURI", h.Source.locURI) << "\n";
  out << "  target: " << Field("LocName", h.Target.LocName) << " "
      << Field("LocURI", h.Target.locURI) << "\n";

  for (const auto& item : message.AddCalendarCol()) {
    const clZVCalendar& c = *item->Calendar;
    out << "add calendar, CmdID " << item->CmdID << ": " << Field("Source", c.Source) << " "
        << Field("Target", c.Target) << " " << Field("Title", c.Title) << "\n";
  }
  for (const auto& item : message.AddAttributesCol()) {
    out << "add attribute, CmdID " << item->CmdID << ": ";
    DescribeAttribute(out, "  ", *item->AAttribute);
  }
  for (const auto& item : message.AddTerminCol()) {
    out << "add appointment, CmdID " << item->CmdID << ": ";
    DescribeTermin(out, *item->Termin);
  }
  for (const auto& item : message.ReplaceTerminCol()) {
    out << "replace appointment, CmdID " << item->CmdID << ": ";
    DescribeTermin(out, *item->Termin);
  }
  for (const auto& item : message.DeleteTerminCol()) {
    out << "delete appointment, CmdID " << item->CmdID << ": "
        << Field("Source", item->TerminKey->TerminKeySource) << " "
        << Field("Target", item->TerminKey->TerminKeyTarget) << "\n";
  }
  if (message.OpeningTimeRequested()) {
    out << "get opening times, CmdID " << message.OpeningTimeCmdID() << "\n";
  }
  for (const auto& s : message.StatusCol()) {
    out << "status: " << Field("Cmd", s->Cmd) << " " << Field("CmdID", s->CmdID) << " "
        << Field("CmdRef", s->CmdRef) << " " << Field("MsgRef", s->MsgRef) << " "
        << Field("Data", s->Data) << " " << Field("Text", s->Text) << "\n";
  }
  return out.str();
}

int AnalyzeCommand(const std::string& file, CliContext& context) {
  PrintingLog log(context.out);
  clZVUpDownFile message(context.xml_parser, context.file_system, "");
  context.out << "file: " << file << "\n";
  bool read = false;
  {
    QuietReading scope(&log);
    read = message.AnalyzeDownFile(file);
  }
  if (!read) {
    context.err << "zvsync: the file could not be read as a message: " << file << "\n";
    return kExitFailure;
  }
  context.out << DescribeMessage(message);
  return kExitOk;
}

}  // namespace kdzv
