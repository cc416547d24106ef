// The opening times of the practice, written as "Replace" commands of an
// answer when the service asks for them. Only written, never read.
//
// One clZVOpeningTime per calendar (practitioner); in it one
// clZVAttribute_Value per treatment method; in that one Day per day, whose
// text lists the day's time slots (see OpeningDayText).
#ifndef KDZV_MESSAGE_OPENING_TIME_ITEMS_H_
#define KDZV_MESSAGE_OPENING_TIME_ITEMS_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "message/calendar_items.h"
#include "message/xml_writer.h"
#include "util/date_time.h"
#include "util/keyed_collection.h"

namespace kdzv {

class clZVAttribute_ValueDay {
 public:
  std::string Value;
};

class clZVAttribute_ValueDays : public KeyedCollection<clZVAttribute_ValueDay> {
 public:
  using KeyedCollection::Add;
  std::shared_ptr<clZVAttribute_ValueDay> Add(std::string_view Value, std::string_view sKey = {});
};

class clZVAttribute_Value {
 public:
  static constexpr std::string_view kModule = "clZVAttribute_Value";

  std::string Source;
  std::string Target;
  std::string Title;
  std::shared_ptr<clZVAttribute_ValueDays> Days = std::make_shared<clZVAttribute_ValueDays>();

  // `name` with Source, Target, Title and one "Day" per day.
  bool CreateXMLSource(XmlWriter::Element parent, std::string_view name) const;
};

class clZVAttribute_Values : public KeyedCollection<clZVAttribute_Value> {
 public:
  static constexpr std::string_view kModule = "clZVAttribute_Values";
  using KeyedCollection::Add;
  std::shared_ptr<clZVAttribute_Value> Add(std::string_view Source, std::string_view Target,
                                           std::string_view Title, std::string_view sKey = {});
  // Each value under `name`; a failing one is reported and the rest written.
  bool CreateXMLSource(XmlWriter::Element parent, std::string_view name) const;
};

class clZVOpeningTime {
 public:
  static constexpr std::string_view kModule = "clZVOpeningTime";

  int32_t CmdID = 0;
  std::shared_ptr<clZVCalendar> Calendar = std::make_shared<clZVCalendar>();
  std::shared_ptr<clZVAttribute_Values> Values = std::make_shared<clZVAttribute_Values>();

  // `name` with CmdID and "OpeningTime" holding the calendar and the values.
  bool CreateXMLSource(XmlWriter::Element parent, std::string_view name) const;
};

class clZVReplaceOpeningTimeCol : public KeyedCollection<clZVOpeningTime> {
 public:
  static constexpr std::string_view kModule = "clZVReplaceOpeningTimeCol";
  using KeyedCollection::Add;
  // A new opening time for the calendar with these ids and title.
  std::shared_ptr<clZVOpeningTime> Add(int32_t CmdID, std::string_view CalendarSource,
                                       std::string_view CalendarTarget,
                                       std::string_view CalendarTitle, std::string_view sKey = {});
  // Each opening time as "Replace"; stops at the first failing one.
  bool CreateXMLSource(XmlWriter::Element parent) const;
};

// One time slot of a day: its local start and its length in minutes.
struct OpeningSlot {
  DateTime start;
  int32_t minutes = 0;
};

// The text of a Day element: the local date "yyyymmdd", a colon, and the
// slots separated by ";", each the start as the service's UTC text, "/" and
// the length in minutes:
//   20240701:20240701T060000Z/30;20240701T080000Z/45
// A day without slots is "20240701:". A slot whose start cannot be
// converted is left out.
std::string OpeningDayText(DateTime day, const std::vector<OpeningSlot>& slots);

}  // namespace kdzv

#endif  // KDZV_MESSAGE_OPENING_TIME_ITEMS_H_
