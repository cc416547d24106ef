// The two command items that wrap the payloads of a message: an add or
// replace command (an appointment, a calendar or an attribute) and a delete
// or map command (an appointment key).
#ifndef KDZV_MESSAGE_COMMAND_ITEMS_H_
#define KDZV_MESSAGE_COMMAND_ITEMS_H_

#include <cstdint>
#include <memory>
#include <string_view>

#include "message/calendar_items.h"
#include "message/termin_items.h"
#include "message/xml_writer.h"

namespace kdzv {

// Values of clZVAddReplaceItem::ItemType.
namespace item_type {
inline constexpr int32_t kTermin = 0;
inline constexpr int32_t kCalendar = 2;
inline constexpr int32_t kAttribute = 3;
}  // namespace item_type

class clZVAddReplaceItem {
 public:
  static constexpr std::string_view kModule = "clZVAddReplaceItem";

  clZVAddReplaceItem() = default;
  // An item for `termin` (not null). Its calendar and attribute exist as in
  // every item, made together in one block.
  explicit clZVAddReplaceItem(std::shared_ptr<clZVTermin> termin);

  int32_t CmdID = 0;
  // All three payloads exist from the start; ItemType says which one counts
  // (2 calendar, 3 attribute, anything else the appointment).
  std::shared_ptr<clZVTermin> Termin = std::make_shared<clZVTermin>();
  std::shared_ptr<clZVCalendar> Calendar = std::make_shared<clZVCalendar>();
  std::shared_ptr<clZVAttributeMulti> AAttribute = std::make_shared<clZVAttributeMulti>();
  int32_t ItemType = item_type::kTermin;

  // `name` with CmdID and the payload; an attribute is written as its first
  // value, "Attribute_Value".
  bool CreateXMLSource(XmlWriter::Element parent, std::string_view name) const;
};

class clZVDeleteMapItem {
 public:
  static constexpr std::string_view kModule = "clZVDeleteMapItem";

  int32_t CmdID = 0;
  std::shared_ptr<clZVTerminKey> TerminKey = std::make_shared<clZVTerminKey>();

  // `name` with CmdID and the key's "VEvent".
  bool CreateXMLSource(XmlWriter::Element parent, std::string_view name) const;
};

}  // namespace kdzv

#endif  // KDZV_MESSAGE_COMMAND_ITEMS_H_
