// The header of every message and the appointment with its customer: the
// items out of which the reader builds a received message and the command
// processing an answer. None of them parses XML; each writes itself with
// CreateXMLSource, which appends its element to the parent first and then
// fills it, and returns whether the element and all its children were made.
#ifndef KDZV_MESSAGE_TERMIN_ITEMS_H_
#define KDZV_MESSAGE_TERMIN_ITEMS_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "message/calendar_items.h"
#include "message/element_reader.h"
#include "message/xml_writer.h"
#include "util/date_time.h"

namespace kdzv {

// One end of an exchange: a display name and an identifier.
class clZVSourceTargetItem {
 public:
  static constexpr std::string_view kModule = "clZVSourceTargetItem";

  std::string LocName;
  std::string locURI;

  // `name` with LocName and LocURI.
  bool CreateXMLSource(XmlWriter::Element parent, std::string_view name) const;
};

class clZVSyncHdr {
 public:
  static constexpr std::string_view kModule = "clZVSyncHdr";

  std::string VerDTD;
  std::string VerProto;
  std::string SessionID;
  int32_t MsgID = 0;
  clZVSourceTargetItem Target;
  clZVSourceTargetItem Source;

  // "SyncHdr" with VerDTD, VerProto, SessionID, MsgID, Source and Target.
  bool CreateXMLSource(XmlWriter::Element parent) const;
};

// The person who booked an appointment. DateOfBirth is the text the service
// sent.
class clZVCustomer {
 public:
  static constexpr std::string_view kModule = "clZVCustomer";

  std::string Title;
  std::string FirstName;
  std::string LastName;
  std::string DateOfBirth;
  std::string Address;
  std::string PostalCode;
  std::string City;
  std::string Phone;
  std::string Email;

  // "Customer" with all nine fields, empty ones included.
  bool CreateXMLSource(XmlWriter::Element parent) const;
};

// One appointment, written as "VEvent".
class clZVTermin {
 public:
  static constexpr std::string_view kModule = "clZVTermin";

  std::string Source;
  std::string Comment;
  clZVCustomer Customer;
  // The calendar the appointment lies in.
  clZVAttributeValue Calendar;
  bool Cancel = false;
  bool Block = false;
  std::string Target;
  std::string Status;
  // Only Source, Target and Status are written.
  bool OnlyStatusChanged = false;
  clZVAttributes Attributes;

  // Start and end as the service's UTC text. Setting one stores the text
  // unchanged and at once converts it to local time (the zero date when it
  // cannot be converted).
  const std::string& DTStart() const { return dt_start_; }
  const std::string& DTEnd() const { return dt_end_; }
  void SetDTStart(std::string text);
  void SetDTEnd(std::string text);
  DateTime StartDateTime() const { return start_; }
  DateTime EndDateTime() const { return end_; }

  // A fresh appointment with the same fields, customer, calendar reference,
  // start and end (converted anew) and the same attribute objects;
  // OnlyStatusChanged is not taken over.
  std::shared_ptr<clZVTermin> Copy() const;

  // "VEvent"; a failing sub-item is reported and the rest still written.
  bool CreateXMLSource(XmlWriter::Element parent) const;

 private:
  std::string dt_start_;
  std::string dt_end_;
  DateTime start_;
  DateTime end_;
};

// Reads an appointment from its "VEvent" element: the streamed events or a
// built tree alike. Unknown elements are reported and passed over; a
// run-time error (a second attribute under the same key) ends the reading.
class TerminReader final : public ElementReader {
 public:
  void Begin(clZVTermin& termin);

  Take Child(std::string_view name) override;
  void TextOfChild(std::string_view text) override;
  void ChildRead(bool read) override;
  bool End() override { return true; }

 private:
  // The customer's fields.
  class CustomerReader final : public ElementReader {
   public:
    void Begin(clZVCustomer& customer) { customer_ = &customer; }
    Take Child(std::string_view name) override;
    bool End() override { return true; }

   private:
    clZVCustomer* customer_ = nullptr;
  };

  // The child being read.
  enum class Field : uint8_t { kDTStart, kDTEnd, kCancel, kBlock, kCustomer, kCalendar,
                               kAttribute };

  clZVTermin* termin_ = nullptr;
  Field field_ = Field::kDTStart;
  std::shared_ptr<clZVAttributeMulti> attribute_;  // the attribute being read
  CustomerReader customer_reader_;
  AttributeValueReader calendar_reader_;
  AttributeMultiReader attribute_reader_;
};

// Identifies an appointment in delete and map commands.
class clZVTerminKey {
 public:
  static constexpr std::string_view kModule = "clZVTerminKey";

  std::string TerminKeySource;
  std::string TerminKeyTarget;

  // "VEvent" with Source and Target.
  bool CreateXMLSource(XmlWriter::Element parent) const;
};

}  // namespace kdzv

#endif  // KDZV_MESSAGE_TERMIN_ITEMS_H_
