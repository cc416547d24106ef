#include "message/calendar_items.h"

#include <string>

#include "interface/component_log.h"
#include "interface/error_report.h"
#include "util/text.h"

namespace kdzv {
namespace {

constexpr std::string_view kUnknownCalendarNode = "Unbekannter Knoten (calendar): ";
// The attribute classes share the value class's text.
constexpr std::string_view kUnknownAttributeNode = "Unbekannter Knoten (AttributeValue): ";

void ReportUnknown(std::string_view prefix, std::string_view name) {
  std::string text(prefix);
  text += ToLower(name);
  ReportLine(text);
}

}  // namespace

// --- the readers ------------------------------------------------------------

void FieldsReader::BeginFields(std::string& source, std::string& target, std::string& title) {
  fields_[0] = &source;
  fields_[1] = &target;
  fields_[2] = &title;
  children_ = 0;
  failed_ = false;
}

// A run-time error ends the reading of the item: it is reported, and the
// rest of the element passed over.
void FieldsReader::Fail() {
  failed_ = true;
  ReportCurrentError(module_, "ReadFromXMLNode", "");
}

ElementReader::Take FieldsReader::Child(std::string_view name) {
  if (failed_) return Skip();
  try {
    ++children_;
    if (NameIs(name, "source")) return AsTextInto(*fields_[0]);
    if (NameIs(name, "target")) return AsTextInto(*fields_[1]);
    if (NameIs(name, "title")) return AsTextInto(*fields_[2]);
    const Take take = OtherChild(name);
    if (take.way == Take::Way::kSkip) ReportUnknown(unknown_prefix_, name);
    return take;
  } catch (...) {
    Fail();
    return Skip();
  }
}

void FieldsReader::ChildRead(bool read) {
  if (failed_) return;
  try {
    OtherChildRead(read);
  } catch (...) {
    Fail();
  }
}

bool FieldsReader::End() { return children_ > 0 && !failed_; }

CalendarReader::CalendarReader() : FieldsReader(clZVCalendar::kModule, kUnknownCalendarNode) {}

AttributeValueReader::AttributeValueReader()
    : FieldsReader(clZVAttributeValue::kModule, kUnknownAttributeNode) {}

AttributeReader::AttributeReader() : FieldsReader(clZVAttribute::kModule, kUnknownAttributeNode) {}

void AttributeReader::Begin(clZVAttribute& attribute) {
  attribute_ = &attribute;
  BeginFields(attribute.Source, attribute.Target, attribute.Title);
}

ElementReader::Take AttributeReader::OtherChild(std::string_view name) {
  if (!NameIs(name, "value")) return Skip();
  value_reader_.Begin(*attribute_->Value);
  return By(value_reader_);
}

void AttributeReader::OtherChildRead(bool read) {
  if (!read) {
    ReportLine("clZVAttribute.ReadFromXMLNode: AttributeValue konnte nicht gelesen werden.");
  }
}

AttributeMultiReader::AttributeMultiReader()
    : FieldsReader(clZVAttributeMulti::kModule, kUnknownAttributeNode) {}

void AttributeMultiReader::Begin(clZVAttributeMulti& attribute) {
  attribute_ = &attribute;
  value_.reset();
  BeginFields(attribute.Source, attribute.Target, attribute.Title);
}

ElementReader::Take AttributeMultiReader::OtherChild(std::string_view name) {
  if (!NameIs(name, "value")) return Skip();
  value_ = std::make_shared<clZVAttributeValue>();
  value_reader_.Begin(*value_);
  return By(value_reader_);
}

void AttributeMultiReader::OtherChildRead(bool read) {
  std::shared_ptr<clZVAttributeValue> value = std::move(value_);
  if (read) {
    attribute_->Values.Add(std::move(value));
  } else {
    ReportLine("clZVAttributeMulti.ReadFromXMLNode: AttributeValue konnte nicht gelesen werden.");
  }
}

// --- clZVCalendar -----------------------------------------------------------

bool clZVCalendar::ReadFromXMLNode(const XmlNode& node) {
  CalendarReader reader;
  reader.Begin(*this);
  return ReadElement(node, reader);
}

bool clZVCalendar::CreateXMLSource(XmlWriter::Element parent) const {
  try {
    const XmlWriter::Element element = parent.AppendChild("Calendar");
    element.AppendTextElement("Source", Source);
    element.AppendTextElement("Target", Target);
    if (!Title.empty()) element.AppendTextElement("Title", Title);
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

// --- clZVCalendarKey --------------------------------------------------------

bool clZVCalendarKey::CreateXMLSource(XmlWriter::Element parent) const {
  try {
    const XmlWriter::Element element = parent.AppendChild("Calendar");
    element.AppendTextElement("Source", Source);
    element.AppendTextElement("Target", Target);
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

// --- clZVAttributeValue -----------------------------------------------------

bool clZVAttributeValue::ReadFromXMLNode(const XmlNode& node) {
  AttributeValueReader reader;
  reader.Begin(*this);
  return ReadElement(node, reader);
}

bool clZVAttributeValue::CreateXMLSource(XmlWriter::Element parent, std::string_view name) const {
  try {
    const XmlWriter::Element element = parent.AppendChild(name);
    element.AppendTextElement("Source", Source);
    element.AppendTextElement("Target", Target);
    element.AppendTextElement("Title", Title);
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

std::shared_ptr<clZVAttributeValue> clZVAttributeValues::Add(std::string_view Source,
                                                             std::string_view Target,
                                                             std::string_view Title,
                                                             std::string_view sKey) {
  auto value = std::make_shared<clZVAttributeValue>();
  value->Source = std::string(Source);
  value->Target = std::string(Target);
  value->Title = std::string(Title);
  return KeyedCollection::Add(std::move(value), sKey);
}

// --- clZVAttribute ----------------------------------------------------------

bool clZVAttribute::ReadFromXMLNode(const XmlNode& node) {
  AttributeReader reader;
  reader.Begin(*this);
  return ReadElement(node, reader);
}

bool clZVAttribute::CreateXMLSource(XmlWriter::Element parent, std::string_view name) const {
  try {
    const XmlWriter::Element element = parent.AppendChild(name);
    element.AppendTextElement("Source", Source);
    element.AppendTextElement("Target", Target);
    element.AppendTextElement("Title", Title);
    if (!Value->CreateXMLSource(element, "Value")) {
      ReportLine("CreateXMLSource fehlgeschlagen für SubItem 'Value'.");
      return false;
    }
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

// --- clZVAttributeMulti -----------------------------------------------------

std::shared_ptr<clZVAttributeValue> clZVAttributeMulti::FirstValue() const {
  if (Values.Count() < 1) return nullptr;
  return Values.Item(1);
}

bool clZVAttributeMulti::ReadFromXMLNode(const XmlNode& node) {
  AttributeMultiReader reader;
  reader.Begin(*this);
  return ReadElement(node, reader);
}

bool clZVAttributeMulti::CreateXMLSource(XmlWriter::Element parent, std::string_view name) const {
  try {
    const XmlWriter::Element element = parent.AppendChild(name);
    element.AppendTextElement("Source", Source);
    element.AppendTextElement("Target", Target);
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

// --- clZVAttributes ---------------------------------------------------------

bool clZVAttributes::CreateXMLSource(XmlWriter::Element parent) const {
  try {
    for (const auto& attribute : *this) {
      if (!attribute->CreateXMLSource(parent, "Attribute")) {
        ReportLine("CreateXMLSource fehlgeschlagen für SubItem 'clZVAttribute'.");
        return false;
      }
    }
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

// --- clZVDeleteMapCalendarItem ----------------------------------------------

bool clZVDeleteMapCalendarItem::CreateXMLSource(XmlWriter::Element parent,
                                                std::string_view name) const {
  try {
    const XmlWriter::Element element = parent.AppendChild(name);
    element.AppendTextElement("CmdID", std::to_string(CmdID));
    if (!CalendarKey->CreateXMLSource(element)) {
      ReportLine("XML-Daten für Subitem 'CalendarKey' konnten nicht erstellt werden.");
      return false;
    }
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

// --- clZVMapCalendarCol -----------------------------------------------------

std::shared_ptr<clZVDeleteMapCalendarItem> clZVMapCalendarCol::Add(int32_t CmdID,
                                                                   std::string_view Source,
                                                                   std::string_view Target,
                                                                   std::string_view sKey) {
  auto item = std::make_shared<clZVDeleteMapCalendarItem>();
  item->CmdID = CmdID;
  item->CalendarKey->Source = std::string(Source);
  item->CalendarKey->Target = std::string(Target);
  return KeyedCollection::Add(std::move(item), sKey);
}

bool clZVMapCalendarCol::CreateXMLSource(XmlWriter::Element parent) const {
  try {
    for (const auto& item : *this) {
      if (!item->CreateXMLSource(parent, "Map")) {
        // The status class's name is what this message has always named.
        ReportLine("CreateXMLSource fehlgeschlagen für SubItem 'clZVStatus'.");
        return false;
      }
    }
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

}  // namespace kdzv
