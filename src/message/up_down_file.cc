#include "message/up_down_file.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <string_view>
#include <utility>
#include <vector>

#include "interface/component_log.h"
#include "interface/error_report.h"
#include "message/message_text.h"
#include "util/text.h"
#include "util/vb_convert.h"

namespace kdzv {

namespace {

// The number in a "MsgID" or "CmdID" text: its leading decimal number,
// rounded; 0 when the text does not start with one.
int32_t NumberIn(std::string_view text) { return RoundToLong(LeadingNumber(text)); }

void ReportUnknown(std::string_view parent, std::string_view lower_child) {
  ReportLine("Unbekannter Knoten: " + std::string(parent) + ">" + std::string(lower_child));
}

void ReportUnknown(std::string_view parent, const XmlNode& child) {
  ReportUnknown(parent, ToLower(child.Name()));
}

void ReportUnreadable(std::string_view parent, std::string_view child) {
  ReportLine("Knoten konnte nicht ausgewertet werden:" + std::string(parent) + ">" +
             ToLower(child));
}

void ReportUnreadable(std::string_view parent, const XmlNode& child) {
  ReportUnreadable(parent, child.Name());
}

template <class T>
T& Lazy(std::unique_ptr<T>& member) {
  if (!member) member = std::make_unique<T>();
  return *member;
}

}  // namespace

clZVUpDownFile::clZVUpDownFile(XmlParser& parser, FileSystem& file_system,
                               std::string service_host)
    : parser_(parser), file_system_(file_system), service_host_(std::move(service_host)) {}

clZVSyncHdr& clZVUpDownFile::SyncHdr() { return Lazy(header_); }
clZVAddTerminCol& clZVUpDownFile::AddTerminCol() { return Lazy(add_termine_); }
clZVReplaceTerminCol& clZVUpDownFile::ReplaceTerminCol() { return Lazy(replace_termine_); }
clZVDeleteTerminCol& clZVUpDownFile::DeleteTerminCol() { return Lazy(delete_termine_); }
clZVMapTerminCol& clZVUpDownFile::MapTerminCol() { return Lazy(map_termine_); }
clZVAddCalendarCol& clZVUpDownFile::AddCalendarCol() { return Lazy(add_calendars_); }
clZVMapCalendarCol& clZVUpDownFile::MapCalendarCol() { return Lazy(map_calendars_); }
clZVAddAttributesCol& clZVUpDownFile::AddAttributesCol() { return Lazy(add_attributes_); }
clZVReplaceOpeningTimeCol& clZVUpDownFile::ReplaceOpeningTimeCol() {
  return Lazy(replace_opening_times_);
}
clZVStatusCol& clZVUpDownFile::StatusCol() { return Lazy(statuses_); }
clZVAlertCol& clZVUpDownFile::AlertCol() { return Lazy(alerts_); }
clZVSessionInfo& clZVUpDownFile::SessionInfo() { return Lazy(session_info_); }

// ---------------------------------------------------------------------------
// Reading

void clZVUpDownFile::ReleaseReceived() {
  // The added attributes are kept on purpose: attributes received earlier
  // through this object stay until its owner releases them.
  header_.reset();
  add_termine_.reset();
  replace_termine_.reset();
  delete_termine_.reset();
  map_termine_.reset();
  alerts_.reset();
  statuses_.reset();
  add_calendars_.reset();
  map_calendars_.reset();
  session_info_.reset();
  opening_time_requested_ = false;
  opening_time_cmd_id_ = 0;
}

// An add, replace or delete command, read from its element's events: an
// appointment (a delete takes its key), a calendar or an attribute, stored
// into the received message's collections at the command's end.
class clZVUpDownFile::AddReplaceReader final : public ElementReader {
 public:
  explicit AddReplaceReader(clZVUpDownFile& file) : file_(file) {}

  // Starts a command named `name` (as written): "Add", "Replace" or
  // "Delete" in any case.
  void Begin(std::string_view name) {
    if (NameIs(name, "add")) {
      kind_ = Kind::kAdd;
    } else if (NameIs(name, "replace")) {
      kind_ = Kind::kReplace;
    } else {
      kind_ = Kind::kDelete;
    }
    name_.assign(name);
    cmd_id_ = 0;
    termin_.reset();
    calendar_.reset();
    attribute_.reset();
  }
  const std::string& Name() const { return name_; }

  Take Child(std::string_view name) override {
    if (NameIs(name, "cmdid")) {
      child_ = Part::kCmdID;
      return AsText();
    }
    if (NameIs(name, "vevent")) {
      child_ = Part::kVEvent;
      termin_ = std::make_shared<clZVTermin>();
      termin_reader_.Begin(*termin_);
      return By(termin_reader_);
    }
    if (NameIs(name, "calendar")) {
      child_ = Part::kCalendar;
      calendar_read_ = std::make_shared<clZVCalendar>();
      calendar_reader_.Begin(*calendar_read_);
      return By(calendar_reader_);
    }
    if (NameIs(name, "attribute")) {
      child_ = Part::kAttribute;
      attribute_read_ = std::make_shared<clZVAttributeMulti>();
      attribute_reader_.Begin(*attribute_read_);
      return By(attribute_reader_);
    }
    ReportUnknown(ToLower(name_), ToLower(name));
    return Skip();
  }

  // The command's number.
  void TextOfChild(std::string_view text) override {
    cmd_id_ = NumberIn(text);
  }

  // A calendar or an attribute counts once it was read; an appointment
  // counts as soon as it starts.
  void ChildRead(bool read) override {
    if (child_ == Part::kCalendar) {
      if (read) calendar_ = std::move(calendar_read_);
      calendar_read_.reset();
    } else if (child_ == Part::kAttribute) {
      if (read) attribute_ = std::move(attribute_read_);
      attribute_read_.reset();
    }
  }

  // Whether the command carried anything that was stored.
  bool End() override;

 private:
  enum class Kind : uint8_t { kAdd, kReplace, kDelete };
  enum class Part : uint8_t { kCmdID, kVEvent, kCalendar, kAttribute };

  clZVUpDownFile& file_;
  Kind kind_ = Kind::kAdd;
  Part child_ = Part::kCmdID;  // the child being read
  std::string name_;
  int32_t cmd_id_ = 0;
  std::shared_ptr<clZVTermin> termin_;
  std::shared_ptr<clZVCalendar> calendar_;
  std::shared_ptr<clZVCalendar> calendar_read_;  // the calendar being read
  std::shared_ptr<clZVAttributeMulti> attribute_;
  std::shared_ptr<clZVAttributeMulti> attribute_read_;  // the attribute being read
  TerminReader termin_reader_;
  CalendarReader calendar_reader_;
  AttributeMultiReader attribute_reader_;
};

bool clZVUpDownFile::AddReplaceReader::End() {
  bool stored = false;
  if (termin_) {
    if (kind_ == Kind::kAdd) {
      file_.AddTerminCol().AddRead(std::move(termin_), cmd_id_);
    } else if (kind_ == Kind::kReplace) {
      file_.ReplaceTerminCol().Add(std::move(termin_), cmd_id_, false);
    } else {
      clZVTerminKey key;
      key.TerminKeySource = termin_->Source;
      key.TerminKeyTarget = termin_->Target;
      file_.DeleteTerminCol().Add(key, cmd_id_);
    }
    stored = true;
  }
  termin_.reset();
  if (calendar_) {
    if (kind_ == Kind::kAdd) {
      file_.AddCalendarCol().Add(*calendar_, cmd_id_);
      stored = true;
    } else {
      ReportLine(name_ + " bei <calendar> nicht unterstützt.");
    }
  }
  calendar_.reset();
  if (attribute_ && attribute_->Values.Count() > 0) {
    if (kind_ == Kind::kAdd) {
      file_.AddAttributesCol().Add(*attribute_, cmd_id_);
      stored = true;
    } else {
      ReportLine(name_ + " bei <attribute> nicht unterstützt.");
    }
  }
  attribute_.reset();
  return stored;
}

// Takes the elements of a received file as they are read: the add, replace
// and delete commands are read into items from their events; the header
// and every other command of the body are built as small trees and read
// into items at once, then let go; the document element and the body are
// streamed; elements that are read for nothing but their name are skipped.
//
// A failure inside (a run-time error of an item) stops the reading of
// commands; the rest of the file is still checked, so that the error is
// reported only for a file that is well-formed.
class clZVUpDownFile::Reading : public XmlStreamSink {
 public:
  // `held` is where the reports of this reading are held, or null when
  // they are shown as they come.
  Reading(clZVUpDownFile& file, const HeldReports* held)
      : file_(file), held_(held), command_(file) {}

  Take Open(std::string_view name, size_t depth) override {
    if (stopped_) return Take::kSkip;
    Take take = Take::kSkip;
    try {
      take = OpenElement(name, depth);
    } catch (...) {
      Stop();
    }
    CheckHeld();
    return stopped_ ? Take::kSkip : take;
  }

  ElementReader* Reader() override { return &command_; }

  void Read(bool stored, size_t /*depth*/) override {
    if (stopped_) return;
    try {
      if (!stored) ReportUnreadable("syncbody", command_.Name());
    } catch (...) {
      Stop();
    }
    CheckHeld();
  }

  void ReadFailed() override { Stop(); }

  void Element(const XmlNode& element, size_t depth) override {
    if (stopped_) return;
    try {
      if (depth == 2) {
        file_.ReadHeader(element);
      } else {
        file_.ReadCommand(element);
      }
    } catch (...) {
      Stop();
    }
    CheckHeld();
  }

  bool RootIsSyncML() const { return root_is_syncml_; }
  // Whether the reports outgrew what may be held.
  bool Overflowed() const { return overflowed_; }
  // The run-time error that stopped the reading, if one did.
  const std::exception_ptr& Error() const { return error_; }

 private:
  Take OpenElement(std::string_view name, size_t depth) {
    if (depth == 1) {
      root_is_syncml_ = NameIs(name, "syncml");
      return root_is_syncml_ ? Take::kStream : Take::kSkip;
    }
    if (depth == 2) {
      if (NameIs(name, "synchdr")) return Take::kBuild;
      if (NameIs(name, "syncbody")) return Take::kStream;
      LogLine(
          "(AnalyzeOrderFile) --> Achtung: Die einzulesende Datei enthält einen unbekannten "
          "Knotentyp (Node): " +
          std::string(name));
      return Take::kSkip;
    }
    // A child of "SyncBody" (the only element streamed below the root).
    if (NameIs(name, "add") || NameIs(name, "replace") || NameIs(name, "delete")) {
      command_.Begin(name);
      return Take::kRead;
    }
    if (NameIs(name, "status") || NameIs(name, "alert") || NameIs(name, "get")) {
      return Take::kBuild;
    }
    if (NameIs(name, "map")) {
      LogLine("Kommando <MAP> noch nicht unterstützt.");
    } else if (!NameIs(name, "final")) {  // the end marker carries nothing
      ReportUnknown("syncbody", ToLower(name));
    }
    return Take::kSkip;
  }

  // A run-time error stops the reading of commands.
  void Stop() {
    error_ = std::current_exception();
    stopped_ = true;
  }

  void CheckHeld() {
    if (held_ != nullptr && held_->HeldBytes() > kMaxHeldReportBytes) {
      overflowed_ = true;
      stopped_ = true;
    }
  }

  clZVUpDownFile& file_;
  const HeldReports* held_;
  bool root_is_syncml_ = false;
  bool stopped_ = false;
  bool overflowed_ = false;
  std::exception_ptr error_;
  AddReplaceReader command_;
};

bool clZVUpDownFile::AnalyzeDownFile(std::string_view path) {
  // Every report of this message is logged; each distinct text is shown in
  // a box once.
  OneBoxPerText one_box_per_text;
  try {
    ReleaseReceived();
    file_name_ = std::string(path);
    TraceLine("AnalyzeDownFile: " + file_name_);

    // The attributes are kept from earlier files; those of a file that
    // turns out unreadable are taken back out.
    const int32_t attributes_before = add_attributes_ ? add_attributes_->Count() : 0;
    const auto forget_this_file = [this, attributes_before] {
      ReleaseReceived();
      if (add_attributes_) {
        while (add_attributes_->Count() > attributes_before) {
          add_attributes_->Remove(add_attributes_->Count());
        }
      }
    };

    uint64_t file_bytes = 0;
    XmlReadResult result = XmlReadResult::kUnreadable;
    bool root_is_syncml = false;
    bool overflowed = false;
    std::exception_ptr error;
    {
      HeldReports held;
      Reading reading(*this, &held);
      result = parser_.ReadFile(file_name_, reading, file_bytes);
      overflowed = reading.Overflowed();
      if (result == XmlReadResult::kRead && !overflowed) {
        held.Release();
        root_is_syncml = reading.RootIsSyncML();
        error = reading.Error();
      }
    }
    if (result == XmlReadResult::kRead && overflowed) {
      // Well-formed, but too much to hold: read again, reporting at once.
      forget_this_file();
      Reading reading(*this, nullptr);
      result = parser_.ReadFile(file_name_, reading, file_bytes);
      root_is_syncml = reading.RootIsSyncML();
      error = reading.Error();
    }

    if (result == XmlReadResult::kTooLarge) {
      ReportLine("Die Download-Datei ist zu groß (" + std::to_string(file_bytes) +
                 " Bytes, höchstens " + std::to_string(xml_limits::kMaxFileBytes) +
                 " Bytes): " + file_name_);
    }
    if (result != XmlReadResult::kRead) {
      forget_this_file();
      LogLine("(AnalyzeOrderFile) --> Achtung: Fehler beim Lesen der Datei: " + file_name_);
      return false;
    }
    if (!root_is_syncml) {
      LogLine(
          "(AnalyzeDownFile) --> Achtung: Die einzulesende Datei entspricht nicht der erwarteten "
          "Struktur: " +
          file_name_);
      return false;
    }
    if (error) std::rethrow_exception(error);
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "AnalyzeDownFile", "File=" + std::string(path));
    return false;
  }
}

void clZVUpDownFile::ReadHeader(const XmlNode& header) {
  clZVSyncHdr& hdr = SyncHdr();
  for (const XmlNode& child : header.Children()) {
    const std::string_view name = child.Name();
    if (NameIs(name, "verdtd")) {
      hdr.VerDTD = child.Text();
    } else if (NameIs(name, "sessionid")) {
      hdr.SessionID = child.Text();
    } else if (NameIs(name, "verproto")) {
      hdr.VerProto = child.Text();
    } else if (NameIs(name, "msgid")) {
      hdr.MsgID = NumberIn(child.Text());
    } else if (NameIs(name, "source")) {
      ReadLocation(child, hdr.Source);
    } else if (NameIs(name, "target")) {
      ReadLocation(child, hdr.Target);
    } else {
      ReportUnknown("synchdr", child);
    }
  }
}

void clZVUpDownFile::ReadLocation(const XmlNode& location, clZVSourceTargetItem& item) {
  const std::string parent = ToLower(location.Name());
  for (const XmlNode& child : location.Children()) {
    const std::string_view name = child.Name();
    if (NameIs(name, "locname")) {
      item.LocName = child.Text();
    } else if (NameIs(name, "locuri")) {
      item.locURI = child.Text();
    } else {
      ReportUnknown(parent, child);
    }
  }
}

// One command of the body built as a tree (status, alert, get); the reading
// has skipped the commands that are read for their name alone.
void clZVUpDownFile::ReadCommand(const XmlNode& command) {
  const std::string_view name = command.Name();
  if (NameIs(name, "status")) {
    auto status = std::make_shared<clZVStatus>();
    if (!status->ReadFromXMLNode(command).empty()) {
      ReportUnreadable("syncbody", command);
    } else {
      StatusCol().Add(std::move(status));
    }
  } else if (NameIs(name, "alert")) {
    clZVAlert alert;
    alert.ReadFromXMLNode(command);
    LogLine("ALERT: " + alert.Text);
  } else if (NameIs(name, "get")) {
    ReadGet(command);
  }
}

// The service asks for the opening times with a "Get" command that holds an
// "OpeningTime" element.
void clZVUpDownFile::ReadGet(const XmlNode& get) {
  bool asks_opening_times = false;
  int32_t cmd_id = 0;
  for (const XmlNode& child : get.Children()) {
    const std::string_view name = child.Name();
    if (NameIs(name, "cmdid")) {
      cmd_id = NumberIn(child.Text());
    } else if (NameIs(name, "openingtime")) {
      asks_opening_times = true;
    } else {
      ReportUnknown("get", child);
    }
  }
  if (!asks_opening_times) {
    ReportUnreadable("syncbody", get);
    return;
  }
  opening_time_requested_ = true;
  opening_time_cmd_id_ = cmd_id;
}

// ---------------------------------------------------------------------------
// Writing

int32_t clZVUpDownFile::NumberCommands() {
  // Long arithmetic: a counter past 2147483647 is an overflow, not a wrap.
  int32_t counter = 0;
  const auto next = [&counter] { return counter = AddLong(counter, 1); };
  for (const auto& status : StatusCol()) status->CmdID = std::to_string(next());
  for (const auto& item : AddTerminCol()) item->CmdID = next();
  for (const auto& item : DeleteTerminCol()) item->CmdID = next();
  for (const auto& item : MapTerminCol()) item->CmdID = next();
  for (const auto& item : ReplaceTerminCol()) item->CmdID = next();
  for (const auto& item : MapCalendarCol()) item->CmdID = next();
  for (const auto& item : AddAttributesCol()) item->CmdID = next();
  for (const auto& item : ReplaceOpeningTimeCol()) item->CmdID = next();
  for (const auto& alert : AlertCol()) alert->CmdID = next();
  return counter;
}

namespace {

// The text of a message being written, in blocks of about a mebibyte.
// Appending never moves what is there: one string of the whole message would
// be copied into one of twice its size whenever it fills, holding three
// times the text for a moment. Blocks are cut only between commands, right
// before a "<".
class MessageBlocks {
 public:
  static constexpr size_t kBlockBytes = size_t{1} << 20;

  // Appends `markup` transliterated, in a new block when it does not fit
  // into the last one.
  void Append(std::string_view markup) { AppendTransliterated(RoomFor(markup.size()), markup); }
  // Appends `text` as it is (transliterated already).
  void AppendVerbatim(std::string_view text) { RoomFor(text.size()).append(text); }

  std::vector<std::string_view> Parts() const {
    return std::vector<std::string_view>(blocks_.begin(), blocks_.end());
  }

 private:
  // The block that takes `bytes` more (transliterating never lengthens).
  std::string& RoomFor(size_t bytes) {
    if (blocks_.empty() ||
        (!blocks_.back().empty() && blocks_.back().size() + bytes > kBlockBytes)) {
      blocks_.emplace_back().reserve(std::max(kBlockBytes, bytes));
    }
    return blocks_.back();
  }

  std::vector<std::string> blocks_;
};

}  // namespace

// The text is the one ComposeMessageText makes of the whole document, made
// one command at a time: the writer hands each command of the body, once
// complete, to the text and forgets it.
bool clZVUpDownFile::CreateUpFile(std::string_view path) {
  try {
    std::unique_ptr<XmlWriter> owned =
        writer_factory_ ? writer_factory_() : std::make_unique<XmlWriter>();
    XmlWriter& writer = *owned;
    // The root's start tag, with its namespace, is the message's own.
    const XmlWriter::Element root = writer.Outside();
    if (!SyncHdr().CreateXMLSource(root)) {
      ReportLine("XML-Daten für Knoten 'SyncHdr' konnten nicht erstellt werden.");
      return false;
    }
    MessageBlocks text;
    text.AppendVerbatim(MessageTextStart(service_host_));
    // Everything the writer still holds, closed, onto the text.
    const auto take_markup = [&writer, &text] {
      writer.CloseAll();
      text.Append(writer.Markup());
      writer.ForgetMarkup();
    };
    take_markup();
    // The body's start tag goes in with the first command; a body without
    // commands is an empty element.
    const XmlWriter::Element body = root.AppendChild("SyncBody");
    NumberCommands();
    writer.HandOnChildren(body, [&text](std::string_view command) { text.Append(command); });

    // A collection that fails has told about it; the file is still written.
    // The status and alert collections hand back their text instead, which
    // goes to the log.
    const std::string status_error = StatusCol().CreateXMLSource(body);
    if (!status_error.empty()) LogLine(status_error);
    AddTerminCol().CreateXMLSource(body);
    DeleteTerminCol().CreateXMLSource(body);
    MapTerminCol().CreateXMLSource(body);
    ReplaceTerminCol().CreateXMLSource(body);
    MapCalendarCol().CreateXMLSource(body);
    AddAttributesCol().CreateXMLSource(body);
    ReplaceOpeningTimeCol().CreateXMLSource(body);
    const std::string alert_error = AlertCol().CreateXMLSource(body);
    if (!alert_error.empty()) LogLine(alert_error);
    take_markup();
    owned.reset();

    text.AppendVerbatim("</SyncML>\r\n");
    const std::vector<std::string_view> parts = text.Parts();
    file_system_.WriteTextFileParts(path, parts);
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "CreateUpFile", "File=" + std::string(path));
    return false;
  }
}

}  // namespace kdzv
