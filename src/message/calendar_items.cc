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

// The fields that every calendar and attribute reader knows. Returns false
// for a name that is none of them.
bool ReadCommonField(std::string_view name, const XmlNode& child, std::string& source,
                     std::string& target, std::string& title) {
  if (NameIs(name, "source")) {
    source = child.Text();
  } else if (NameIs(name, "target")) {
    target = child.Text();
  } else if (NameIs(name, "title")) {
    title = child.Text();
  } else {
    return false;
  }
  return true;
}

void ReportUnknown(std::string_view prefix, std::string_view name) {
  std::string text(prefix);
  text += ToLower(name);
  ReportLine(text);
}

// The reading of every calendar and attribute item: each child is one of the
// common fields, or something `other` knows (it answers false when it does
// not), or an unknown node reported with `prefix`. False for an element
// without children; a run-time error is reported under `module`.
template <class Other>
bool ReadItem(const XmlNode& node, std::string_view module, std::string_view prefix,
              std::string& source, std::string& target, std::string& title, Other&& other) {
  try {
    if (node.Children().empty()) return false;
    for (const XmlNode& child : node.Children()) {
      const std::string_view name = child.Name();
      if (!ReadCommonField(name, child, source, target, title) && !other(name, child)) {
        ReportUnknown(prefix, name);
      }
    }
    return true;
  } catch (...) {
    ReportCurrentError(module, "ReadFromXMLNode", "");
    return false;
  }
}

bool NoOtherField(std::string_view, const XmlNode&) { return false; }

}  // namespace

// --- clZVCalendar -----------------------------------------------------------

bool clZVCalendar::ReadFromXMLNode(const XmlNode& node) {
  return ReadItem(node, kModule, kUnknownCalendarNode, Source, Target, Title, NoOtherField);
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
  return ReadItem(node, kModule, kUnknownAttributeNode, Source, Target, Title, NoOtherField);
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
  return ReadItem(node, kModule, kUnknownAttributeNode, Source, Target, Title,
                  [this](std::string_view name, const XmlNode& child) {
                    if (!NameIs(name, "value")) return false;
                    // The attribute's one value reads every "Value" element;
                    // a later one overwrites what an earlier one set.
                    if (!Value->ReadFromXMLNode(child)) {
                      ReportLine(
                          "clZVAttribute.ReadFromXMLNode: AttributeValue konnte nicht gelesen "
                          "werden.");
                    }
                    return true;
                  });
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
  return ReadItem(node, kModule, kUnknownAttributeNode, Source, Target, Title,
                  [this](std::string_view name, const XmlNode& child) {
                    if (!NameIs(name, "value")) return false;
                    auto value = std::make_shared<clZVAttributeValue>();
                    if (value->ReadFromXMLNode(child)) {
                      Values.Add(std::move(value));
                    } else {
                      ReportLine(
                          "clZVAttributeMulti.ReadFromXMLNode: AttributeValue konnte nicht "
                          "gelesen werden.");
                    }
                    return true;
                  });
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
