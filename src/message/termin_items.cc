#include "message/termin_items.h"

#include <string>
#include <utility>

#include "interface/component_log.h"
#include "interface/error_report.h"
#include "interface/process.h"
#include "mapping/date_time_convert.h"

namespace kdzv {
namespace {

// The local time of a service text; the zero date while no zone is known.
DateTime ToLocal(std::string_view text) {
  TimeZoneSource* zone = process::TimeZone();
  if (zone == nullptr) return DateTime();
  return modDateTimeConvert::ConvertZentavoToLocalDateTime(text, *zone);
}

}  // namespace

// --- clZVSourceTargetItem ---------------------------------------------------

bool clZVSourceTargetItem::CreateXMLSource(XmlWriter::Element parent, std::string_view name) const {
  try {
    const XmlWriter::Element element = parent.AppendChild(name);
    element.AppendTextElement("LocName", LocName);
    element.AppendTextElement("LocURI", locURI);
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

// --- clZVSyncHdr ------------------------------------------------------------

bool clZVSyncHdr::CreateXMLSource(XmlWriter::Element parent) const {
  try {
    const XmlWriter::Element element = parent.AppendChild("SyncHdr");
    element.AppendTextElement("VerDTD", VerDTD);
    element.AppendTextElement("VerProto", VerProto);
    element.AppendTextElement("SessionID", SessionID);
    element.AppendTextElement("MsgID", std::to_string(MsgID));
    // The locations report their own failures; the header is made all the
    // same.
    Source.CreateXMLSource(element, "Source");
    Target.CreateXMLSource(element, "Target");
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

// --- clZVCustomer -----------------------------------------------------------

bool clZVCustomer::CreateXMLSource(XmlWriter::Element parent) const {
  try {
    const XmlWriter::Element element = parent.AppendChild("Customer");
    element.AppendTextElement("Title", Title);
    element.AppendTextElement("FirstName", FirstName);
    element.AppendTextElement("LastName", LastName);
    element.AppendTextElement("DateOfBirth", DateOfBirth);
    element.AppendTextElement("Address", Address);
    element.AppendTextElement("PostalCode", PostalCode);
    element.AppendTextElement("City", City);
    element.AppendTextElement("Phone", Phone);
    element.AppendTextElement("Email", Email);
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

// --- clZVTermin -------------------------------------------------------------

void clZVTermin::SetDTStart(std::string text) {
  start_ = ToLocal(text);
  dt_start_ = std::move(text);
}

void clZVTermin::SetDTEnd(std::string text) {
  end_ = ToLocal(text);
  dt_end_ = std::move(text);
}

std::shared_ptr<clZVTermin> clZVTermin::Copy() const {
  auto copy = std::make_shared<clZVTermin>();
  copy->Source = Source;
  copy->Target = Target;
  copy->Comment = Comment;
  copy->Status = Status;
  copy->Cancel = Cancel;
  copy->Block = Block;
  copy->Customer = Customer;
  copy->Calendar = Calendar;
  copy->SetDTStart(dt_start_);
  copy->SetDTEnd(dt_end_);
  // The copy lists the very attribute objects of this appointment, without
  // their keys.
  for (const auto& attribute : Attributes) copy->Attributes.Add(attribute);
  return copy;
}

bool clZVTermin::CreateXMLSource(XmlWriter::Element parent) const {
  try {
    const XmlWriter::Element element = parent.AppendChild("VEvent");
    element.AppendTextElement("Source", Source);
    if (!Target.empty()) element.AppendTextElement("Target", Target);
    if (!OnlyStatusChanged) {
      element.AppendTextElement("DTStart", dt_start_);
      element.AppendTextElement("DTEnd", dt_end_);
      element.AppendTextElement("Comment", Comment);
      element.AppendTextElement("Block", Block ? "true" : "false");
    }
    if (!Status.empty()) element.AppendTextElement("Status", Status);
    if (OnlyStatusChanged) return true;

    // A failing sub-item is told about, and the others are still written.
    bool all_written = true;
    if (!Calendar.CreateXMLSource(element, "Calendar")) {
      ReportLine("CreateXMLSource fehlgeschlagen für SubItem 'Calendar'.");
      all_written = false;
    }
    if (!Customer.CreateXMLSource(element)) {
      ReportLine("CreateXMLSource fehlgeschlagen für SubItem 'Customer'.");
      all_written = false;
    }
    if (!Attributes.CreateXMLSource(element)) {
      // The attribute list has always been announced with the customer's text.
      ReportLine("CreateXMLSource fehlgeschlagen für SubItem 'Customer'.");
      all_written = false;
    }
    return all_written;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

// --- clZVTerminKey ----------------------------------------------------------

bool clZVTerminKey::CreateXMLSource(XmlWriter::Element parent) const {
  try {
    const XmlWriter::Element element = parent.AppendChild("VEvent");
    element.AppendTextElement("Source", TerminKeySource);
    element.AppendTextElement("Target", TerminKeyTarget);
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

}  // namespace kdzv
