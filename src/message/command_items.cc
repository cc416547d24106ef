#include "message/command_items.h"

#include <string>
#include <utility>

#include "interface/component_log.h"
#include "interface/error_report.h"

namespace kdzv {

// --- clZVAddReplaceItem -----------------------------------------------------

namespace {

// The payloads of an appointment's item that are there only so that every
// item has all three.
struct UnusedPayloads {
  clZVCalendar calendar;
  clZVAttributeMulti attribute;
};

}  // namespace

clZVAddReplaceItem::clZVAddReplaceItem(std::shared_ptr<clZVTermin> termin)
    : Termin(std::move(termin)), Calendar(nullptr), AAttribute(nullptr) {
  const auto payloads = std::make_shared<UnusedPayloads>();
  Calendar = std::shared_ptr<clZVCalendar>(payloads, &payloads->calendar);
  AAttribute = std::shared_ptr<clZVAttributeMulti>(payloads, &payloads->attribute);
}

bool clZVAddReplaceItem::CreateXMLSource(XmlWriter::Element parent, std::string_view name) const {
  try {
    // The command element goes into the message before its payload, so a
    // failing payload leaves the command element behind.
    const XmlWriter::Element element = parent.AppendChild(name);
    element.AppendTextElement("CmdID", std::to_string(CmdID));

    if (ItemType == item_type::kAttribute) {
      // An attribute travels as its first value.
      if (AAttribute->Values.Count() < 1) {
        ReportLine(
            "XML-Daten für Subitem 'Attribut' konnten nicht erstellt werden: Attribut enthät "
            "keine Values");
        return false;
      }
      if (!AAttribute->Values.Item(1)->CreateXMLSource(element, "Attribute_Value")) {
        ReportLine("XML-Daten für Subitem 'Attribut_Value' konnten nicht erstellt werden.");
        return false;
      }
      return true;
    }
    if (ItemType == item_type::kCalendar) {
      if (!Calendar->CreateXMLSource(element)) {
        // The calendar case has always been announced as 'Attribut'.
        ReportLine("XML-Daten für Subitem 'Attribut' konnten nicht erstellt werden.");
        return false;
      }
      return true;
    }
    if (!Termin->CreateXMLSource(element)) {
      ReportLine("XML-Daten für Subitem 'Termin' konnten nicht erstellt werden.");
      return false;
    }
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

// --- clZVDeleteMapItem ------------------------------------------------------

bool clZVDeleteMapItem::CreateXMLSource(XmlWriter::Element parent, std::string_view name) const {
  try {
    const XmlWriter::Element element = parent.AppendChild(name);
    element.AppendTextElement("CmdID", std::to_string(CmdID));
    if (!TerminKey->CreateXMLSource(element)) {
      ReportLine("XML-Daten für Subitem 'TerminKey' konnten nicht erstellt werden.");
      return false;
    }
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

}  // namespace kdzv
