#include "message/termin_items.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "support/failing_writer.h"
#include "support/fakes.h"
#include "support/golden.h"
#include "support/item_reports.h"

namespace kdzv {
namespace {

using test::BoxTexts;
using test::ChildNames;
using test::CountOf;
using test::CreateElementErrorLine;
using test::FailingWriter;
using test::Golden;
using test::WrittenInto;
using test::WrittenXml;

using Names = std::vector<std::string>;

constexpr char kCalendarFailed[] = "CreateXMLSource fehlgeschlagen für SubItem 'Calendar'.";
constexpr char kCustomerFailed[] = "CreateXMLSource fehlgeschlagen für SubItem 'Customer'.";
constexpr char kAttributeFailed[] = "CreateXMLSource fehlgeschlagen für SubItem 'clZVAttribute'.";

DateTime Local(int year, int month, int day, int hour, int minute) {
  return DateTime::FromFields({year, month, day, hour, minute, 0});
}

void FillCustomer(clZVCustomer& customer) {
  customer.Title = "Dr.";
  customer.FirstName = "J\xC3\xB6rg";
  customer.LastName = "M\xC3\xBCller";
  customer.DateOfBirth = "19700102";
  customer.Address = "Hauptstr. 5";
  customer.PostalCode = "12345";
  customer.City = "Berlin";
  customer.Phone = "030 123";
  customer.Email = "j@example.org";
}

// An appointment with everything set: calendar, customer, one attribute
// with a single value and one with a list of values.
clZVTermin FullTermin() {
  clZVTermin termin;
  termin.Source = "ZV-100";
  termin.Target = "HX-7";
  termin.SetDTStart("20240701T080000Z");
  termin.SetDTEnd("20240701T083000Z");
  termin.Comment = "Kontrolle";
  termin.Status = "Booked";
  termin.Cancel = true;  // never written
  termin.Calendar.Source = "K1";
  termin.Calendar.Target = "B3";
  termin.Calendar.Title = "Dr. Wei\xC3\x9F";
  FillCustomer(termin.Customer);
  auto single = std::make_shared<clZVAttribute>();
  single->Source = "A1";
  single->Target = "H1";
  single->Title = "Behandlungsart";
  single->Value->Source = "V1";
  single->Value->Target = "HV1";
  single->Value->Title = "Prophylaxe";
  termin.Attributes.Add(single, "BEHANDLUNGSART");
  auto multi = std::make_shared<clZVAttributeMulti>();
  multi->Source = "A2";
  multi->Target = "H2";
  multi->Title = "Versicherung";
  multi->Values.Add("V9", "HV9", "Privat");
  termin.Attributes.Add(multi);
  return termin;
}

// --- header -----------------------------------------------------------------

TEST(SyncHdrTest, FilledHeaderMatchesGolden) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVSyncHdr header;
  header.VerDTD = "1.0";
  header.VerProto = "SyncZV/1.0";
  header.SessionID = "17";
  header.MsgID = 7;
  header.Source.LocName = "Praxis";
  header.Source.locURI = "HX";
  header.Target.LocName = "Zentavo";
  header.Target.locURI = "ZV";
  EXPECT_TRUE(header.CreateXMLSource(writer.Outside()));
  EXPECT_EQ(WrittenXml(writer), Golden("items/header_filled.xml"));
}

TEST(SyncHdrTest, EmptyHeaderWritesEveryElement) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  EXPECT_TRUE(clZVSyncHdr().CreateXMLSource(writer.Outside()));
  EXPECT_EQ(WrittenXml(writer), Golden("items/header_empty.xml"));
}

TEST(SyncHdrTest, MsgIdIsPlainDecimalWithSign) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVSyncHdr header;
  header.MsgID = -12;
  ASSERT_TRUE(header.CreateXMLSource(writer.Outside()));
  const XmlElement parent = WrittenInto(writer, "SyncML");
  EXPECT_EQ(parent.Children()[0].Children()[3].Name(), "MsgID");
  EXPECT_EQ(parent.Children()[0].Children()[3].OwnText(), "-12");
}

TEST(SyncHdrTest, FailingLocationDoesNotFailTheHeader) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("LocURI", 2);  // the target's
  EXPECT_TRUE(clZVSyncHdr().CreateXMLSource(writer.Outside()));
  EXPECT_EQ(scoped.log.lines,
            Names{CreateElementErrorLine("clZVSourceTargetItem", "CreateXMLSource")});
  EXPECT_TRUE(scoped.ui.boxes.empty());
  const XmlElement parent = WrittenInto(writer, "SyncML");
  const XmlElement& header = parent.Children()[0];
  EXPECT_EQ(ChildNames(header),
            (Names{"VerDTD", "VerProto", "SessionID", "MsgID", "Source", "Target"}));
  EXPECT_EQ(ChildNames(header.Children()[5]), Names{"LocName"});
}

TEST(SyncHdrTest, OwnFailureIsReportedAndLeavesThePartialHeader) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("SessionID");
  EXPECT_FALSE(clZVSyncHdr().CreateXMLSource(writer.Outside()));
  EXPECT_EQ(scoped.log.lines, Names{CreateElementErrorLine("clZVSyncHdr", "CreateXMLSource")});
  const XmlElement parent = WrittenInto(writer, "SyncML");
  ASSERT_EQ(parent.Children().size(), 1u);
  EXPECT_EQ(ChildNames(parent.Children()[0]), (Names{"VerDTD", "VerProto"}));
}

TEST(SyncHdrTest, FailureWithoutActiveInterfaceShowsTheErrorBox) {
  test::ScopedProcess scoped;
  FailingWriter writer("SyncHdr");
  EXPECT_FALSE(clZVSyncHdr().CreateXMLSource(writer.Outside()));
  ASSERT_EQ(scoped.ui.boxes.size(), 1u);
  EXPECT_EQ(scoped.ui.boxes[0].text,
            "Es ist der folgende Fehler aufgetreten:\r\n5/Invalid procedure call or argument / "
            "Modul=clZVSyncHdr / Proc=CreateXMLSource / Details=");
  const XmlElement parent = WrittenInto(writer, "SyncML");
  EXPECT_TRUE(parent.Children().empty());
}

// --- location and customer --------------------------------------------------

TEST(SourceTargetItemTest, WritesLocNameAndLocUriUnderTheGivenName) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVSourceTargetItem item;
  item.LocName = "Praxis Dr. Wei\xC3\x9F";
  item.locURI = "HX-1";
  EXPECT_TRUE(item.CreateXMLSource(writer.Outside(), "Source"));
  EXPECT_EQ(WrittenXml(writer), Golden("items/source_target.xml"));
}

TEST(SourceTargetItemTest, OwnFailureIsReported) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("LocName");
  EXPECT_FALSE(clZVSourceTargetItem().CreateXMLSource(writer.Outside(), "Target"));
  EXPECT_EQ(scoped.log.lines,
            Names{CreateElementErrorLine("clZVSourceTargetItem", "CreateXMLSource")});
}

TEST(CustomerTest, FilledCustomerMatchesGolden) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVCustomer customer;
  FillCustomer(customer);
  EXPECT_TRUE(customer.CreateXMLSource(writer.Outside()));
  EXPECT_EQ(WrittenXml(writer), Golden("items/customer_filled.xml"));
}

TEST(CustomerTest, AllEmptyFieldsStillYieldNineEmptyElements) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  EXPECT_TRUE(clZVCustomer().CreateXMLSource(writer.Outside()));
  EXPECT_EQ(WrittenXml(writer), Golden("items/customer_empty.xml"));
  const XmlElement parent = WrittenInto(writer, "VEvent");
  EXPECT_EQ(parent.Children()[0].Children().size(), 9u);
}

TEST(CustomerTest, OwnFailureIsReported) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("City");
  EXPECT_FALSE(clZVCustomer().CreateXMLSource(writer.Outside()));
  EXPECT_EQ(scoped.log.lines, Names{CreateElementErrorLine("clZVCustomer", "CreateXMLSource")});
  const XmlElement parent = WrittenInto(writer, "VEvent");
  EXPECT_EQ(parent.Children()[0].Children().size(), 6u);
}

// --- appointment: start and end ---------------------------------------------

TEST(TerminTest, SettingStartAndEndKeepsTheTextAndConvertsToLocalTime) {
  test::ScopedProcess scoped;
  clZVTermin termin;
  termin.SetDTStart("20240701T060000Z");  // summer: two hours east of UTC
  termin.SetDTEnd("20241201T110000Z");    // winter: one hour
  EXPECT_EQ(termin.DTStart(), "20240701T060000Z");
  EXPECT_EQ(termin.DTEnd(), "20241201T110000Z");
  EXPECT_EQ(termin.StartDateTime(), Local(2024, 7, 1, 8, 0));
  EXPECT_EQ(termin.EndDateTime(), Local(2024, 12, 1, 12, 0));
}

TEST(TerminTest, TextOfWrongLengthIsStoredWithTheZeroDate) {
  test::ScopedProcess scoped;
  clZVTermin termin;
  termin.SetDTStart("20240701T0600Z");
  EXPECT_EQ(termin.DTStart(), "20240701T0600Z");
  EXPECT_TRUE(termin.StartDateTime().IsZero());
  EXPECT_TRUE(scoped.Reports().empty());
}

TEST(TerminTest, WithoutTimeZoneTheLocalTimeIsTheZeroDate) {
  test::ScopedProcess scoped;
  process::SetTimeZone(nullptr);
  clZVTermin termin;
  termin.SetDTEnd("20240701T060000Z");
  EXPECT_EQ(termin.DTEnd(), "20240701T060000Z");
  EXPECT_TRUE(termin.EndDateTime().IsZero());
}

TEST(TerminTest, ChangingTheTextReconverts) {
  test::ScopedProcess scoped;
  clZVTermin termin;
  termin.SetDTStart("20240701T060000Z");
  termin.SetDTStart("20240701T070000Z");
  EXPECT_EQ(termin.StartDateTime(), Local(2024, 7, 1, 9, 0));
}

// --- appointment: copy ------------------------------------------------------

TEST(TerminTest, CopyTakesFieldsCustomerCalendarAndTimes) {
  test::ScopedProcess scoped;
  clZVTermin original = FullTermin();
  original.Block = true;
  original.OnlyStatusChanged = true;
  const auto copy = original.Copy();
  EXPECT_EQ(copy->Source, "ZV-100");
  EXPECT_EQ(copy->Target, "HX-7");
  EXPECT_EQ(copy->Comment, "Kontrolle");
  EXPECT_EQ(copy->Status, "Booked");
  EXPECT_TRUE(copy->Cancel);
  EXPECT_TRUE(copy->Block);
  EXPECT_FALSE(copy->OnlyStatusChanged);
  EXPECT_EQ(copy->Customer.LastName, "M\xC3\xBCller");
  EXPECT_EQ(copy->Customer.Email, "j@example.org");
  EXPECT_EQ(copy->Calendar.Title, "Dr. Wei\xC3\x9F");
  EXPECT_EQ(copy->DTStart(), "20240701T080000Z");
  EXPECT_EQ(copy->DTEnd(), "20240701T083000Z");
  EXPECT_EQ(copy->StartDateTime(), Local(2024, 7, 1, 10, 0));
  EXPECT_EQ(copy->EndDateTime(), Local(2024, 7, 1, 10, 30));
}

TEST(TerminTest, CopyListsTheSameAttributeObjectsWithoutKeys) {
  test::ScopedProcess scoped;
  clZVTermin original = FullTermin();
  const auto copy = original.Copy();
  ASSERT_EQ(copy->Attributes.Count(), 2);
  EXPECT_EQ(copy->Attributes.Item(1), original.Attributes.Item(1));
  EXPECT_EQ(copy->Attributes.Item(2), original.Attributes.Item(2));
  EXPECT_TRUE(original.Attributes.Contains("Behandlungsart"));
  EXPECT_FALSE(copy->Attributes.Contains("Behandlungsart"));
}

TEST(TerminTest, CopyIsIndependentOfLaterChanges) {
  test::ScopedProcess scoped;
  clZVTermin original = FullTermin();
  const auto copy = original.Copy();
  original.Comment = "changed";
  original.Customer.City = "Hamburg";
  original.Calendar.Source = "K2";
  original.SetDTStart("20250101T000000Z");
  original.Attributes.Add(std::make_shared<clZVAttribute>());
  EXPECT_EQ(copy->Comment, "Kontrolle");
  EXPECT_EQ(copy->Customer.City, "Berlin");
  EXPECT_EQ(copy->Calendar.Source, "K1");
  EXPECT_EQ(copy->DTStart(), "20240701T080000Z");
  EXPECT_EQ(copy->Attributes.Count(), 2);
}

// --- appointment: writing ---------------------------------------------------

TEST(TerminTest, FullAppointmentMatchesGolden) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  EXPECT_TRUE(FullTermin().CreateXMLSource(writer.Outside()));
  EXPECT_EQ(WrittenXml(writer), Golden("items/termin_full.xml"));
  EXPECT_TRUE(scoped.Reports().empty());
}

TEST(TerminTest, EmptyTargetAndStatusAreLeftOutButEmptyCommentIsWritten) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVTermin termin;
  termin.Source = "ZV-1";
  EXPECT_TRUE(termin.CreateXMLSource(writer.Outside()));
  EXPECT_EQ(WrittenXml(writer), Golden("items/termin_minimal.xml"));
}

TEST(TerminTest, BlockIsWrittenAsTrueOrFalseNeverEmpty) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVTermin termin;
  termin.CreateXMLSource(writer.Outside());
  termin.Block = true;
  termin.CreateXMLSource(writer.Outside());
  const XmlElement parent = WrittenInto(writer, "Add");
  ASSERT_EQ(parent.Children().size(), 2u);
  EXPECT_EQ(parent.Children()[0].Children()[4].Name(), "Block");
  EXPECT_EQ(parent.Children()[0].Children()[4].OwnText(), "false");
  EXPECT_EQ(parent.Children()[1].Children()[4].Name(), "Block");
  EXPECT_EQ(parent.Children()[1].Children()[4].OwnText(), "true");
}

TEST(TerminTest, OnlyStatusChangedWritesSourceTargetAndStatusOnly) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVTermin termin = FullTermin();
  termin.Status = "x";
  termin.OnlyStatusChanged = true;
  EXPECT_TRUE(termin.CreateXMLSource(writer.Outside()));
  EXPECT_EQ(WrittenXml(writer), Golden("items/termin_only_status.xml"));
}

TEST(TerminTest, OnlyStatusChangedWithoutTargetWritesSourceAndStatus) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVTermin termin;
  termin.Source = "ZV-1";
  termin.Status = "ProviderCanceled";
  termin.OnlyStatusChanged = true;
  EXPECT_TRUE(termin.CreateXMLSource(writer.Outside()));
  const XmlElement parent = WrittenInto(writer, "Replace");
  EXPECT_EQ(ChildNames(parent.Children()[0]), (Names{"Source", "Status"}));
}

TEST(TerminTest, CommentWithMarkupCharactersIsEscaped) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVTermin termin;
  termin.Source = "S";
  termin.Comment = "a < b & c > d";
  termin.Block = true;
  EXPECT_TRUE(termin.CreateXMLSource(writer.Outside()));
  EXPECT_EQ(WrittenXml(writer), Golden("items/termin_escaped.xml"));
  // Read back, the text is the item's own.
  const XmlElement parent = WrittenInto(writer, "Add");
  EXPECT_EQ(parent.Children()[0].Children()[3].OwnText(), "a < b & c > d");
}

TEST(TerminTest, CancelIsNeverWritten) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVTermin termin;
  termin.Cancel = true;
  termin.CreateXMLSource(writer.Outside());
  const XmlElement parent = WrittenInto(writer, "Add");
  for (const auto& name : ChildNames(parent.Children()[0])) EXPECT_NE(name, "Cancel");
}

// --- appointment: failing sub-items -----------------------------------------

TEST(TerminTest, FailingCalendarIsReportedAndTheRestIsWritten) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Calendar");
  EXPECT_FALSE(FullTermin().CreateXMLSource(writer.Outside()));
  EXPECT_EQ(BoxTexts(scoped), Names{kCalendarFailed});
  EXPECT_EQ(
      scoped.log.lines,
      (Names{CreateElementErrorLine("clZVAttributeValue", "CreateXMLSource"), kCalendarFailed}));
  const XmlElement parent = WrittenInto(writer, "Add");
  EXPECT_EQ(ChildNames(parent.Children()[0]),
            (Names{"Source", "Target", "DTStart", "DTEnd", "Comment", "Block", "Status", "Customer",
                   "Attribute", "Attribute"}));
}

TEST(TerminTest, FailingCustomerIsReportedAndTheRestIsWritten) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Customer");
  EXPECT_FALSE(FullTermin().CreateXMLSource(writer.Outside()));
  EXPECT_EQ(BoxTexts(scoped), Names{kCustomerFailed});
  EXPECT_EQ(CountOf(scoped.log.lines, kCustomerFailed), 1);
  EXPECT_EQ(CountOf(scoped.log.lines, CreateElementErrorLine("clZVCustomer", "CreateXMLSource")),
            1);
  const XmlElement parent = WrittenInto(writer, "Add");
  EXPECT_EQ(ChildNames(parent.Children()[0]),
            (Names{"Source", "Target", "DTStart", "DTEnd", "Comment", "Block", "Status", "Calendar",
                   "Attribute", "Attribute"}));
}

TEST(TerminTest, FailingAttributesAreReportedWithTheCustomerText) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Attribute", 2);
  EXPECT_FALSE(FullTermin().CreateXMLSource(writer.Outside()));
  EXPECT_EQ(BoxTexts(scoped), (Names{kAttributeFailed, kCustomerFailed}));
  EXPECT_EQ(CountOf(scoped.log.lines, kAttributeFailed), 1);
  EXPECT_EQ(CountOf(scoped.log.lines, kCustomerFailed), 1);
  const XmlElement parent = WrittenInto(writer, "Add");
  EXPECT_EQ(ChildNames(parent.Children()[0]),
            (Names{"Source", "Target", "DTStart", "DTEnd", "Comment", "Block", "Status", "Calendar",
                   "Customer", "Attribute"}));
}

TEST(TerminTest, EverySubItemFailingGivesEveryMessage) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Title");  // in the calendar, the customer and an attribute
  EXPECT_FALSE(FullTermin().CreateXMLSource(writer.Outside()));
  EXPECT_EQ(BoxTexts(scoped),
            (Names{kCalendarFailed, kCustomerFailed, kAttributeFailed, kCustomerFailed}));
}

TEST(TerminTest, OwnFailureIsReportedWithoutSubItemMessages) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("DTStart");
  EXPECT_FALSE(FullTermin().CreateXMLSource(writer.Outside()));
  EXPECT_TRUE(scoped.ui.boxes.empty());
  EXPECT_EQ(scoped.log.lines, Names{CreateElementErrorLine("clZVTermin", "CreateXMLSource")});
  const XmlElement parent = WrittenInto(writer, "Add");
  EXPECT_EQ(ChildNames(parent.Children()[0]), (Names{"Source", "Target"}));
}

// --- appointment key --------------------------------------------------------

TEST(TerminKeyTest, WritesBothKeysEvenWhenEmpty) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVTerminKey key;
  key.TerminKeySource = "ZV-9";
  EXPECT_TRUE(key.CreateXMLSource(writer.Outside()));
  EXPECT_EQ(WrittenXml(writer), Golden("items/termin_key.xml"));
}

TEST(TerminKeyTest, OwnFailureIsReported) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("Target");
  EXPECT_FALSE(clZVTerminKey().CreateXMLSource(writer.Outside()));
  EXPECT_EQ(scoped.log.lines, Names{CreateElementErrorLine("clZVTerminKey", "CreateXMLSource")});
}

}  // namespace
}  // namespace kdzv
