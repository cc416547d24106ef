#include "message/termin_items.h"

#include <string>
#include <utility>

#include "interface/component_log.h"
#include "interface/error_report.h"
#include "interface/process.h"
#include "mapping/date_time_convert.h"

namespace kdzv {
namespace {

XmlElement& AppendElement(XmlDocument& document, XmlElement& parent, std::string_view name) {
  return parent.AppendChild(document.CreateElement(name));
}

// The local time of a service text; the zero date while no zone is known.
DateTime ToLocal(std::string_view text) {
  TimeZoneSource* zone = process::TimeZone();
  if (zone == nullptr) return DateTime();
  return modDateTimeConvert::ConvertZentavoToLocalDateTime(text, *zone);
}

}  // namespace

// --- clZVSourceTargetItem ---------------------------------------------------

bool clZVSourceTargetItem::CreateXMLSource(XmlDocument& document, XmlElement& parent,
                                           std::string_view name) const {
  try {
    XmlElement& element = AppendElement(document, parent, name);
    AppendTextElement(document, element, "LocName", LocName);
    AppendTextElement(document, element, "LocURI", locURI);
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

// --- clZVSyncHdr ------------------------------------------------------------

bool clZVSyncHdr::CreateXMLSource(XmlDocument& document, XmlElement& parent) const {
  try {
    XmlElement& element = AppendElement(document, parent, "SyncHdr");
    AppendTextElement(document, element, "VerDTD", VerDTD);
    AppendTextElement(document, element, "VerProto", VerProto);
    AppendTextElement(document, element, "SessionID", SessionID);
    AppendTextElement(document, element, "MsgID", std::to_string(MsgID));
    // The locations report their own failures; the header is made all the
    // same.
    Source.CreateXMLSource(document, element, "Source");
    Target.CreateXMLSource(document, element, "Target");
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

// --- clZVCustomer -----------------------------------------------------------

bool clZVCustomer::CreateXMLSource(XmlDocument& document, XmlElement& parent) const {
  try {
    XmlElement& element = AppendElement(document, parent, "Customer");
    AppendTextElement(document, element, "Title", Title);
    AppendTextElement(document, element, "FirstName", FirstName);
    AppendTextElement(document, element, "LastName", LastName);
    AppendTextElement(document, element, "DateOfBirth", DateOfBirth);
    AppendTextElement(document, element, "Address", Address);
    AppendTextElement(document, element, "PostalCode", PostalCode);
    AppendTextElement(document, element, "City", City);
    AppendTextElement(document, element, "Phone", Phone);
    AppendTextElement(document, element, "Email", Email);
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

bool clZVTermin::CreateXMLSource(XmlDocument& document, XmlElement& parent) const {
  try {
    XmlElement& element = AppendElement(document, parent, "VEvent");
    AppendTextElement(document, element, "Source", Source);
    if (!Target.empty()) AppendTextElement(document, element, "Target", Target);
    if (!OnlyStatusChanged) {
      AppendTextElement(document, element, "DTStart", dt_start_);
      AppendTextElement(document, element, "DTEnd", dt_end_);
      AppendTextElement(document, element, "Comment", Comment);
      AppendTextElement(document, element, "Block", Block ? "true" : "false");
    }
    if (!Status.empty()) AppendTextElement(document, element, "Status", Status);
    if (OnlyStatusChanged) return true;

    // A failing sub-item is told about, and the others are still written.
    bool all_written = true;
    if (!Calendar.CreateXMLSource(document, element, "Calendar")) {
      ReportLine("CreateXMLSource fehlgeschlagen für SubItem 'Calendar'.");
      all_written = false;
    }
    if (!Customer.CreateXMLSource(document, element)) {
      ReportLine("CreateXMLSource fehlgeschlagen für SubItem 'Customer'.");
      all_written = false;
    }
    if (!Attributes.CreateXMLSource(document, element)) {
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

bool clZVTerminKey::CreateXMLSource(XmlDocument& document, XmlElement& parent) const {
  try {
    XmlElement& element = AppendElement(document, parent, "VEvent");
    AppendTextElement(document, element, "Source", TerminKeySource);
    AppendTextElement(document, element, "Target", TerminKeyTarget);
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

}  // namespace kdzv
