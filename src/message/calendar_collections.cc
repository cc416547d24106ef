#include "message/calendar_collections.h"

#include <utility>

#include "interface/component_log.h"
#include "interface/error_report.h"

namespace kdzv {

// --- clZVAddCalendarCol -----------------------------------------------------

std::shared_ptr<clZVAddReplaceItem> clZVAddCalendarCol::Add(const clZVCalendar& Calendar,
                                                            int32_t CmdID, std::string_view sKey) {
  auto item = std::make_shared<clZVAddReplaceItem>();
  item->ItemType = item_type::kCalendar;
  item->CmdID = CmdID;
  *item->Calendar = Calendar;
  return KeyedCollection::Add(std::move(item), sKey);
}

bool clZVAddCalendarCol::CreateXMLSource(XmlWriter::Element parent) const {
  try {
    for (const auto& item : *this) {
      if (!item->CreateXMLSource(parent, "Add")) {
        ReportLine("CreateXMLSource fehlgeschlagen für SubItem 'clZVAddReplaceItem'.");
        return false;
      }
    }
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

// --- clZVAddAttributesCol ---------------------------------------------------

std::shared_ptr<clZVAddReplaceItem> clZVAddAttributesCol::Add(const clZVAttributeMulti& Attribute,
                                                              int32_t CmdID,
                                                              std::string_view sKey) {
  auto item = std::make_shared<clZVAddReplaceItem>();
  item->ItemType = item_type::kAttribute;
  item->CmdID = CmdID;
  clZVAttributeMulti& copy = *item->AAttribute;
  copy.Source = Attribute.Source;
  copy.Target = Attribute.Target;
  copy.Title = Attribute.Title;
  // A list of its own that holds the given attribute's value objects.
  for (const auto& value : Attribute.Values) copy.Values.Add(value);
  return KeyedCollection::Add(std::move(item), sKey);
}

bool clZVAddAttributesCol::CreateXMLSource(XmlWriter::Element parent) const {
  try {
    // Each attribute value is answered as a map of the host's id, hence
    // "Map". The failing item has told about itself; nothing is added here.
    for (int32_t i = 1; i <= Count(); ++i) {
      if (!Item(i)->CreateXMLSource(parent, "Map")) return false;
    }
    return true;
  } catch (...) {
    ReportCurrentError(kModule, "CreateXMLSource", "");
    return false;
  }
}

}  // namespace kdzv
