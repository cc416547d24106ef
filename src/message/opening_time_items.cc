#include "message/opening_time_items.h"

#include <string>
#include <utility>

#include "interface/component_log.h"
#include "interface/error_report.h"
#include "interface/process.h"
#include "mapping/date_time_convert.h"

namespace kdzv {
namespace {

constexpr std::string_view kValueFailed =
    "XML-Daten für Subitem 'Attribute_Value' konnten nicht erstellt werden.";

}  // namespace

// --- clZVAttribute_ValueDays ------------------------------------------------

std::shared_ptr<clZVAttribute_ValueDay> clZVAttribute_ValueDays::Add(std::string_view Value,
                                                                     std::string_view sKey) {
  auto day = std::make_shared<clZVAttribute_ValueDay>();
  day->Value = std::string(Value);
  return KeyedCollection::Add(std::move(day), sKey);
}

// --- clZVAttribute_Value ----------------------------------------------------

bool clZVAttribute_Value::CreateXMLSource(XmlWriter::Element parent, std::string_view name) const {
  try {
    const XmlWriter::Element element = parent.AppendChild(name);
    element.AppendTextElement("Source", Source);
    element.AppendTextElement("Target", Target);
    element.AppendTextElement("Title", Title);
    for (int32_t i = 1; i <= Days->Count(); ++i) {
      element.AppendTextElement("Day", Days->Item(i)->Value);
    }
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

// --- clZVAttribute_Values ---------------------------------------------------

std::shared_ptr<clZVAttribute_Value> clZVAttribute_Values::Add(std::string_view Source,
                                                               std::string_view Target,
                                                               std::string_view Title,
                                                               std::string_view sKey) {
  auto value = std::make_shared<clZVAttribute_Value>();
  value->Source = std::string(Source);
  value->Target = std::string(Target);
  value->Title = std::string(Title);
  return KeyedCollection::Add(std::move(value), sKey);
}

bool clZVAttribute_Values::CreateXMLSource(XmlWriter::Element parent, std::string_view name) const {
  try {
    // A failing value is told about and the others are still written.
    bool all_written = true;
    for (int32_t i = 1; i <= Count(); ++i) {
      if (!Item(i)->CreateXMLSource(parent, name)) {
        ReportLine(kValueFailed);
        all_written = false;
      }
    }
    return all_written;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

// --- clZVOpeningTime --------------------------------------------------------

bool clZVOpeningTime::CreateXMLSource(XmlWriter::Element parent, std::string_view name) const {
  try {
    const XmlWriter::Element element = parent.AppendChild(name);
    element.AppendTextElement("CmdID", std::to_string(CmdID));
    const XmlWriter::Element opening_time = element.AppendChild("OpeningTime");

    // A failing part is told about and the next part is still written.
    bool all_written = true;
    if (!Calendar->CreateXMLSource(opening_time)) {
      ReportLine("XML-Daten für Subitem 'Calendar' konnten nicht erstellt werden.");
      all_written = false;
    }
    if (!Values->CreateXMLSource(opening_time, "Attribute_Value")) {
      ReportLine(kValueFailed);
      all_written = false;
    }
    return all_written;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

// --- clZVReplaceOpeningTimeCol ----------------------------------------------

std::shared_ptr<clZVOpeningTime> clZVReplaceOpeningTimeCol::Add(int32_t CmdID,
                                                                std::string_view CalendarSource,
                                                                std::string_view CalendarTarget,
                                                                std::string_view CalendarTitle,
                                                                std::string_view sKey) {
  auto opening_time = std::make_shared<clZVOpeningTime>();
  opening_time->CmdID = CmdID;
  opening_time->Calendar->Source = std::string(CalendarSource);
  opening_time->Calendar->Target = std::string(CalendarTarget);
  opening_time->Calendar->Title = std::string(CalendarTitle);
  return KeyedCollection::Add(std::move(opening_time), sKey);
}

bool clZVReplaceOpeningTimeCol::CreateXMLSource(XmlWriter::Element parent) const {
  try {
    for (int32_t i = 1; i <= Count(); ++i) {
      if (!Item(i)->CreateXMLSource(parent, "Replace")) {
        ReportLine("CreateXMLSource fehlgeschlagen für SubItem 'clZVOpeningTime'.");
        return false;
      }
    }
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

// --- OpeningDayText ---------------------------------------------------------

std::string OpeningDayText(DateTime day, const std::vector<OpeningSlot>& slots) {
  std::string text = day.Format("yyyymmdd");
  text += ':';
  TimeZoneSource* zone = process::TimeZone();
  bool first = true;
  for (const OpeningSlot& slot : slots) {
    // Without a zone no start can be converted.
    if (zone == nullptr) break;
    const std::string start = modDateTimeConvert::ConvertLocalToZentavoDateTime(slot.start, *zone);
    if (start.empty()) continue;
    if (!first) text += ';';
    first = false;
    text += start;
    text += '/';
    text += std::to_string(slot.minutes);
  }
  return text;
}

}  // namespace kdzv
