#include "message/termin_items.h"

#include <string>
#include <utility>

#include "interface/component_log.h"
#include "interface/error_report.h"
#include "interface/process.h"
#include "mapping/date_time_convert.h"
#include "util/text.h"

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

// --- TerminReader -----------------------------------------------------------

void TerminReader::Begin(clZVTermin& termin) {
  termin_ = &termin;
  attribute_.reset();
}

ElementReader::Take TerminReader::Child(std::string_view name) {
  if (NameIs(name, "source")) return AsTextInto(termin_->Source);
  if (NameIs(name, "target")) return AsTextInto(termin_->Target);
  if (NameIs(name, "comment")) return AsTextInto(termin_->Comment);
  if (NameIs(name, "status")) return AsTextInto(termin_->Status);
  if (NameIs(name, "dtstart")) {
    field_ = Field::kDTStart;
  } else if (NameIs(name, "dtend")) {
    field_ = Field::kDTEnd;
  } else if (NameIs(name, "customer")) {
    field_ = Field::kCustomer;
    customer_reader_.Begin(termin_->Customer);
    return By(customer_reader_);
  } else if (NameIs(name, "calendar")) {
    field_ = Field::kCalendar;
    calendar_reader_.Begin(termin_->Calendar);
    return By(calendar_reader_);
  } else if (NameIs(name, "attribute")) {
    field_ = Field::kAttribute;
    attribute_ = std::make_shared<clZVAttributeMulti>();
    attribute_reader_.Begin(*attribute_);
    return By(attribute_reader_);
  } else if (NameIs(name, "cancel")) {
    field_ = Field::kCancel;
  } else if (NameIs(name, "block")) {
    field_ = Field::kBlock;
  } else {
    ReportLine("Unbekannter Knoten (VEvent): vevent>" + ToLower(name));
    return Skip();
  }
  return AsText();
}

void TerminReader::TextOfChild(std::string_view text) {
  clZVTermin& termin = *termin_;
  switch (field_) {
    case Field::kDTStart:
      termin.SetDTStart(std::string(text));
      break;
    case Field::kDTEnd:
      termin.SetDTEnd(std::string(text));
      break;
    case Field::kCancel:
      termin.Cancel = NameIs(text, "true");
      break;
    case Field::kBlock:
      termin.Block = NameIs(text, "true");
      break;
    default:
      break;
  }
}

void TerminReader::ChildRead(bool read) {
  if (field_ == Field::kCalendar) {
    if (!read) ReportLine("'Calendar' konnte nicht gelesen werden.");
  } else if (field_ == Field::kAttribute) {
    std::shared_ptr<clZVAttributeMulti> attribute = std::move(attribute_);
    if (read) {
      clZVAttributes& attributes = termin_->Attributes;
      // Most appointments carry a few attributes: room for them at once.
      if (attributes.Count() == 0) attributes.Reserve(4);
      const std::string_view key = attribute->Source;
      attributes.Add(std::move(attribute), key);  // keyed regardless of case
    } else {
      ReportLine("'Attribute' konnte nicht gelesen werden.");
    }
  }
}

ElementReader::Take TerminReader::CustomerReader::Child(std::string_view name) {
  clZVCustomer& customer = *customer_;
  if (NameIs(name, "title")) return AsTextInto(customer.Title);
  if (NameIs(name, "firstname")) return AsTextInto(customer.FirstName);
  if (NameIs(name, "lastname")) return AsTextInto(customer.LastName);
  if (NameIs(name, "dateofbirth")) return AsTextInto(customer.DateOfBirth);
  if (NameIs(name, "address")) return AsTextInto(customer.Address);
  if (NameIs(name, "postalcode")) return AsTextInto(customer.PostalCode);
  if (NameIs(name, "city")) return AsTextInto(customer.City);
  if (NameIs(name, "phone")) return AsTextInto(customer.Phone);
  if (NameIs(name, "email")) return AsTextInto(customer.Email);
  ReportLine("Unbekannter Knoten (VEvent): customer>" + ToLower(name));
  return Skip();
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
