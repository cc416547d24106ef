// The calendar and attribute commands of a message: calendars the service
// adds, and the attribute values whose host ids the answer reports.
#ifndef KDZV_MESSAGE_CALENDAR_COLLECTIONS_H_
#define KDZV_MESSAGE_CALENDAR_COLLECTIONS_H_

#include <cstdint>
#include <memory>
#include <string_view>

#include "message/calendar_items.h"
#include "message/command_items.h"
#include "message/xml_writer.h"
#include "util/keyed_collection.h"

namespace kdzv {

// Calendars added by the service. Read, never written by the component.
class clZVAddCalendarCol : public KeyedCollection<clZVAddReplaceItem> {
 public:
  static constexpr std::string_view kModule = "clZVAddCalendarCol";
  using KeyedCollection::Add;
  // An add item (ItemType calendar) holding a copy of `Calendar`.
  std::shared_ptr<clZVAddReplaceItem> Add(const clZVCalendar& Calendar, int32_t CmdID,
                                          std::string_view sKey = {});
  // Each item as "Add"; stops at the first failing one.
  bool CreateXMLSource(XmlWriter::Element parent) const;
};

// Attributes: in a received message the attributes the service adds; in an
// answer one item per accepted attribute value, carrying the host's id.
class clZVAddAttributesCol : public KeyedCollection<clZVAddReplaceItem> {
 public:
  static constexpr std::string_view kModule = "clZVAddAttributesCol";
  using KeyedCollection::Add;
  // An add item (ItemType attribute) holding a copy of `Attribute` (its
  // fields and the same value objects).
  std::shared_ptr<clZVAddReplaceItem> Add(const clZVAttributeMulti& Attribute, int32_t CmdID,
                                          std::string_view sKey = {});
  // Each item as "Map"; stops at the first failing one, without a message.
  bool CreateXMLSource(XmlWriter::Element parent) const;
};

}  // namespace kdzv

#endif  // KDZV_MESSAGE_CALENDAR_COLLECTIONS_H_
