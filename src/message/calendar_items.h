// The calendar and attribute items of a message: the service's bookable
// calendars (one per practitioner) and the attributes of appointments and
// of the practice (the treatment method, the insurance, ...).
//
// Readers (ReadFromXMLNode) match element names without regard to case and
// tell about unknown elements with a log line and a message box, then read
// on. Writers (CreateXMLSource) append one element to the parent and return
// whether it and all its sub-items were written.
#ifndef KDZV_MESSAGE_CALENDAR_ITEMS_H_
#define KDZV_MESSAGE_CALENDAR_ITEMS_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "message/element_reader.h"
#include "message/xml_node.h"
#include "message/xml_writer.h"
#include "util/keyed_collection.h"

namespace kdzv {

// A calendar: Source is its id on the sending side, Target on the receiving
// side, Title its display name.
class clZVCalendar {
 public:
  static constexpr std::string_view kModule = "clZVCalendar";

  std::string Source;
  std::string Target;
  std::string Title;

  // False for an element without children (the item stays untouched).
  bool ReadFromXMLNode(const XmlNode& node);
  // "Calendar" with Source, Target and, when not empty, Title.
  bool CreateXMLSource(XmlWriter::Element parent) const;
};

class clZVCalendarKey {
 public:
  static constexpr std::string_view kModule = "clZVCalendarKey";

  std::string Source;
  std::string Target;

  // "Calendar" with Source and Target.
  bool CreateXMLSource(XmlWriter::Element parent) const;
};

// One value of an attribute (for the method attribute: one treatment), and
// the calendar reference of an appointment.
class clZVAttributeValue {
 public:
  static constexpr std::string_view kModule = "clZVAttributeValue";

  std::string Source;
  std::string Target;
  std::string Title;

  bool ReadFromXMLNode(const XmlNode& node);
  // `name` with Source, Target and Title (all three always).
  bool CreateXMLSource(XmlWriter::Element parent, std::string_view name) const;
};

class clZVAttributeValues : public KeyedCollection<clZVAttributeValue> {
 public:
  using KeyedCollection::Add;
  // A new value with these fields, under `sKey` when it is not empty.
  std::shared_ptr<clZVAttributeValue> Add(std::string_view Source, std::string_view Target,
                                          std::string_view Title, std::string_view sKey = {});
};

// What an appointment's attribute list holds: an attribute with one value
// (clZVAttribute) or with the values a message carried (clZVAttributeMulti).
// Title is the attribute's name ("Behandlungsart").
class clZVAttributeBase {
 public:
  virtual ~clZVAttributeBase() = default;

  std::string Source;
  std::string Target;
  std::string Title;

  // The attribute's value: its single value, or the first of its values;
  // null when it has none.
  virtual std::shared_ptr<clZVAttributeValue> FirstValue() const = 0;
  virtual bool ReadFromXMLNode(const XmlNode& node) = 0;
  virtual bool CreateXMLSource(XmlWriter::Element parent, std::string_view name) const = 0;
};

class clZVAttribute : public clZVAttributeBase {
 public:
  static constexpr std::string_view kModule = "clZVAttribute";

  // Created with the attribute.
  std::shared_ptr<clZVAttributeValue> Value = std::make_shared<clZVAttributeValue>();

  std::shared_ptr<clZVAttributeValue> FirstValue() const override { return Value; }
  bool ReadFromXMLNode(const XmlNode& node) override;
  // `name` with Source, Target, Title and the value as "Value".
  bool CreateXMLSource(XmlWriter::Element parent, std::string_view name) const override;
};

class clZVAttributeMulti : public clZVAttributeBase {
 public:
  static constexpr std::string_view kModule = "clZVAttributeMulti";

  // Every "Value" element read adds one.
  clZVAttributeValues Values;

  std::shared_ptr<clZVAttributeValue> FirstValue() const override;
  bool ReadFromXMLNode(const XmlNode& node) override;
  // `name` with Source and Target only.
  bool CreateXMLSource(XmlWriter::Element parent, std::string_view name) const override;
};

// The attributes of an appointment.
class clZVAttributes : public KeyedCollection<clZVAttributeBase> {
 public:
  static constexpr std::string_view kModule = "clZVAttributes";

  // Each attribute as "Attribute".
  bool CreateXMLSource(XmlWriter::Element parent) const;
};

// Reads the Source, Target and Title of a calendar, an attribute or an
// attribute value from its element, the streamed events or a built tree
// alike. Any other child is unknown and reported with the item's prefix,
// unless a derived reader knows it. End() is false for an element without
// children, or after a run-time error, which is reported under the item's
// module.
class FieldsReader : public ElementReader {
 public:
  Take Child(std::string_view name) final;
  void ChildRead(bool read) final;
  bool End() final;

 protected:
  FieldsReader(std::string_view module, std::string_view unknown_prefix)
      : module_(module), unknown_prefix_(unknown_prefix) {}
  ~FieldsReader() = default;

  void BeginFields(std::string& source, std::string& target, std::string& title);
  // A child other than the three fields: how it is read; Skip() for one the
  // reader does not know.
  virtual Take OtherChild(std::string_view /*name*/) { return Skip(); }
  // The child last taken by OtherChild() has ended.
  virtual void OtherChildRead(bool /*read*/) {}

 private:
  void Fail();

  std::string_view module_;
  std::string_view unknown_prefix_;
  std::string* fields_[3] = {};
  size_t children_ = 0;
  bool failed_ = false;
};

class CalendarReader final : public FieldsReader {
 public:
  CalendarReader();
  void Begin(clZVCalendar& calendar) {
    BeginFields(calendar.Source, calendar.Target, calendar.Title);
  }
};

class AttributeValueReader final : public FieldsReader {
 public:
  AttributeValueReader();
  void Begin(clZVAttributeValue& value) { BeginFields(value.Source, value.Target, value.Title); }
};

// An attribute with one value: every "Value" element is read into it, a
// later one overwriting what an earlier one set.
class AttributeReader final : public FieldsReader {
 public:
  AttributeReader();
  void Begin(clZVAttribute& attribute);

 private:
  Take OtherChild(std::string_view name) override;
  void OtherChildRead(bool read) override;

  clZVAttribute* attribute_ = nullptr;
  AttributeValueReader value_reader_;
};

// An attribute with its values: every "Value" element read adds one.
class AttributeMultiReader final : public FieldsReader {
 public:
  AttributeMultiReader();
  void Begin(clZVAttributeMulti& attribute);

 private:
  Take OtherChild(std::string_view name) override;
  void OtherChildRead(bool read) override;

  clZVAttributeMulti* attribute_ = nullptr;
  std::shared_ptr<clZVAttributeValue> value_;  // the value being read
  AttributeValueReader value_reader_;
};

// One calendar map of an answer: the command it answers and the pair of ids.
class clZVDeleteMapCalendarItem {
 public:
  static constexpr std::string_view kModule = "clZVDeleteMapCalendarItem";

  int32_t CmdID = 0;
  // Created with the item.
  std::shared_ptr<clZVCalendarKey> CalendarKey = std::make_shared<clZVCalendarKey>();

  // `name` with CmdID and the key as "Calendar".
  bool CreateXMLSource(XmlWriter::Element parent, std::string_view name) const;
};

class clZVMapCalendarCol : public KeyedCollection<clZVDeleteMapCalendarItem> {
 public:
  static constexpr std::string_view kModule = "clZVMapCalendarCol";

  using KeyedCollection::Add;
  // A map item with this command number and key pair (Source: the host's
  // id, Target: the service's id), under `sKey` when it is not empty.
  std::shared_ptr<clZVDeleteMapCalendarItem> Add(int32_t CmdID, std::string_view Source,
                                                 std::string_view Target,
                                                 std::string_view sKey = {});
  // Each item as "Map"; stops at the first failing one.
  bool CreateXMLSource(XmlWriter::Element parent) const;
};

}  // namespace kdzv

#endif  // KDZV_MESSAGE_CALENDAR_ITEMS_H_
