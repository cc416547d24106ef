#include "message/termin_collections.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/failing_writer.h"
#include "support/fakes.h"
#include "support/golden.h"
#include "support/item_reports.h"
#include "util/error.h"

namespace kdzv {
namespace {

using test::BoxTexts;
using test::ChildNames;
using test::CountOf;
using test::FailingWriter;
using test::Golden;
using test::WrittenInto;
using test::WrittenXml;

using Names = std::vector<std::string>;

constexpr char kAddReplaceFailed[] =
    "CreateXMLSource fehlgeschlagen für SubItem 'clZVAddReplaceItem'.";
constexpr char kDeleteMapFailed[] =
    "CreateXMLSource fehlgeschlagen für SubItem 'clZVDeleteMapItem'.";

clZVTerminKey Key(std::string source, std::string target) {
  clZVTerminKey key;
  key.TerminKeySource = std::move(source);
  key.TerminKeyTarget = std::move(target);
  return key;
}

std::shared_ptr<clZVTermin> Termin(std::string source) {
  auto termin = std::make_shared<clZVTermin>();
  termin->Source = std::move(source);
  return termin;
}

// The CmdID texts of the elements below `body`.
Names CmdIds(const XmlElement& body) {
  Names ids;
  for (const auto& element : body.Children()) ids.push_back(element.Children()[0].OwnText());
  return ids;
}

int32_t ErrorNumberOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const Error& error) {
    return error.number();
  }
  return 0;
}

// --- Add --------------------------------------------------------------------

TEST(AddTerminColTest, AddStoresACopyWithTheCommandNumber) {
  test::ScopedProcess scoped;
  clZVAddTerminCol col;
  clZVTermin termin;
  termin.Source = "ZV-1";
  termin.Comment = "before";
  termin.SetDTStart("20240701T060000Z");
  termin.OnlyStatusChanged = true;
  const auto item = col.Add(termin, 12);
  EXPECT_EQ(item->CmdID, 12);
  EXPECT_EQ(item->ItemType, item_type::kTermin);
  EXPECT_EQ(item->Termin->Source, "ZV-1");
  EXPECT_EQ(item->Termin->DTStart(), "20240701T060000Z");
  EXPECT_EQ(item->Termin->StartDateTime(), termin.StartDateTime());
  EXPECT_FALSE(item->Termin->OnlyStatusChanged);
  termin.Comment = "after";
  EXPECT_EQ(col.Item(1)->Termin->Comment, "before");
  EXPECT_EQ(col.Item(1), item);
}

// An appointment just read is stored as it is; the item is the one Add
// would have made of it.
TEST(AddTerminColTest, AddReadStoresTheAppointmentAsAddWouldHaveCopiedIt) {
  test::ScopedProcess scoped;
  const auto read = [] {
    auto termin = Termin("ZV-1");
    termin->SetDTStart("20240701T060000Z");
    termin->OnlyStatusChanged = true;
    for (const char* source : {"ATT-1", "ATT-2"}) {
      auto attribute = std::make_shared<clZVAttributeMulti>();
      attribute->Source = source;
      termin->Attributes.Add(attribute, source);
    }
    return termin;
  };
  clZVAddTerminCol copied;
  clZVAddTerminCol stored;
  const auto original = read();
  const auto by_copy = copied.Add(*original, 5);
  const auto termin = read();
  const auto as_read = stored.AddRead(termin, 5);

  EXPECT_EQ(as_read->Termin, termin);
  EXPECT_EQ(as_read->CmdID, by_copy->CmdID);
  EXPECT_EQ(as_read->ItemType, by_copy->ItemType);
  EXPECT_EQ(as_read->Termin->OnlyStatusChanged, by_copy->Termin->OnlyStatusChanged);
  EXPECT_EQ(as_read->Termin->StartDateTime(), by_copy->Termin->StartDateTime());
  ASSERT_EQ(as_read->Termin->Attributes.Count(), by_copy->Termin->Attributes.Count());
  EXPECT_EQ(as_read->Termin->Attributes.Item(2)->Source, "ATT-2");
  EXPECT_EQ(as_read->Termin->Attributes.Contains("ATT-1"),
            by_copy->Termin->Attributes.Contains("ATT-1"));
  EXPECT_FALSE(as_read->Termin->Attributes.Contains("ATT-1"));
  EXPECT_EQ(ErrorNumberOf([&] { stored.AddRead(nullptr, 1); }), err::kInvalidCall);
  EXPECT_EQ(stored.Count(), 1);
}

TEST(ReplaceTerminColTest, AddRefersToTheGivenAppointmentAndSetsTheFlag) {
  test::ScopedProcess scoped;
  clZVReplaceTerminCol col;
  auto termin = Termin("ZV-1");
  const auto item = col.Add(termin, 3, true);
  EXPECT_EQ(item->Termin, termin);
  EXPECT_EQ(item->CmdID, 3);
  EXPECT_TRUE(termin->OnlyStatusChanged);
  termin->Comment = "after";
  EXPECT_EQ(col.Item(1)->Termin->Comment, "after");
  col.Add(termin, 4, false);
  EXPECT_FALSE(termin->OnlyStatusChanged);
}

TEST(ReplaceTerminColTest, AddWithoutAppointmentRaises) {
  clZVReplaceTerminCol col;
  EXPECT_EQ(ErrorNumberOf([&] { col.Add(nullptr, 1, false); }), err::kInvalidCall);
  EXPECT_EQ(col.Count(), 0);
}

TEST(DeleteMapTerminColTest, AddCopiesTheKey) {
  clZVDeleteTerminCol deletes;
  clZVMapTerminCol maps;
  clZVTerminKey key = Key("A", "B");
  const auto deleted = deletes.Add(key, 5);
  const auto mapped = maps.Add(key, 6);
  key.TerminKeySource = "changed";
  EXPECT_EQ(deleted->CmdID, 5);
  EXPECT_EQ(deleted->TerminKey->TerminKeySource, "A");
  EXPECT_EQ(deleted->TerminKey->TerminKeyTarget, "B");
  EXPECT_EQ(mapped->CmdID, 6);
  EXPECT_EQ(mapped->TerminKey->TerminKeySource, "A");
  EXPECT_EQ(mapped->TerminKey->TerminKeyTarget, "B");
}

TEST(TerminColTest, KeysAreFoundWithoutRegardToCase) {
  clZVDeleteTerminCol col;
  col.Add(Key("A", "B"), 1, "abc");
  col.Add(Key("C", "D"), 2);
  EXPECT_EQ(col.Count(), 2);
  EXPECT_EQ(col.Item("ABC"), col.Item("abc"));
  EXPECT_EQ(col.Item("ABC")->TerminKey->TerminKeySource, "A");
  EXPECT_EQ(col.Item(IndexOrKey(std::string("aBc"))), col.Item(1));
}

TEST(TerminColTest, EmptyKeyAddsWithoutKey) {
  clZVMapTerminCol col;
  col.Add(Key("A", "B"), 1, "");
  col.Add(Key("C", "D"), 2, "");
  EXPECT_EQ(col.Count(), 2);
  EXPECT_FALSE(col.Contains(""));
}

TEST(TerminColTest, DuplicateKeyRaises457) {
  test::ScopedProcess scoped;
  clZVAddTerminCol col;
  clZVTermin termin;
  col.Add(termin, 1, "K");
  EXPECT_EQ(ErrorNumberOf([&] { col.Add(termin, 2, "k"); }), err::kDuplicateKey);
  EXPECT_EQ(col.Count(), 1);
}

TEST(TerminColTest, RemoveByPositionAndKey) {
  clZVDeleteTerminCol col;
  col.Add(Key("A", ""), 1, "a");
  col.Add(Key("B", ""), 2);
  col.Add(Key("C", ""), 3, "c");
  col.Remove("A");
  col.Remove(1);
  ASSERT_EQ(col.Count(), 1);
  EXPECT_EQ(col.Item(1)->TerminKey->TerminKeySource, "C");
  Names order;
  for (const auto& item : col) order.push_back(item->TerminKey->TerminKeySource);
  EXPECT_EQ(order, Names{"C"});
}

// --- writing ----------------------------------------------------------------

TEST(TerminColTest, EmptyCollectionsWriteNothingAndSucceed) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  EXPECT_TRUE(clZVAddTerminCol().CreateXMLSource(writer.Outside()));
  EXPECT_TRUE(clZVReplaceTerminCol().CreateXMLSource(writer.Outside()));
  EXPECT_TRUE(clZVDeleteTerminCol().CreateXMLSource(writer.Outside()));
  EXPECT_TRUE(clZVMapTerminCol().CreateXMLSource(writer.Outside()));
  const XmlElement body = WrittenInto(writer, "SyncBody");
  EXPECT_TRUE(body.Children().empty());
  EXPECT_TRUE(scoped.Reports().empty());
}

TEST(DeleteTerminColTest, TwoDeletesAreTwoSiblingElements) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVDeleteTerminCol col;
  col.Add(Key("ZV-1", "HX-1"), 1);
  col.Add(Key("ZV-2", "HX-2"), 2);
  EXPECT_TRUE(col.CreateXMLSource(writer.Outside()));
  EXPECT_EQ(WrittenXml(writer),
            "<Delete><CmdID>1</CmdID><VEvent><Source>ZV-1</Source><Target>HX-1</Target>"
            "</VEvent></Delete><Delete><CmdID>2</CmdID><VEvent><Source>ZV-2</Source>"
            "<Target>HX-2</Target></VEvent></Delete>");
}

TEST(MapTerminColTest, MapWritesBothKeysEvenWhenOneIsEmpty) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVMapTerminCol col;
  col.Add(Key("HX-2", ""), 4);
  EXPECT_TRUE(col.CreateXMLSource(writer.Outside()));
  EXPECT_EQ(WrittenXml(writer), Golden("items/map_item.xml"));
}

TEST(ReplaceTerminColTest, WritesEachItemAsReplace) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVReplaceTerminCol col;
  auto termin = Termin("ZV-1");
  termin->Target = "HX-2";
  termin->Status = "Booked";
  col.Add(termin, 5, true);
  EXPECT_TRUE(col.CreateXMLSource(writer.Outside()));
  EXPECT_EQ(WrittenXml(writer), Golden("items/replace_termin.xml"));
}

TEST(AddTerminColTest, WritesEachItemAsAddInOrder) {
  test::ScopedProcess scoped;
  XmlWriter writer;
  clZVAddTerminCol col;
  col.Add(*Termin("ZV-1"), 7);
  col.Add(*Termin("ZV-2"), 8);
  EXPECT_TRUE(col.CreateXMLSource(writer.Outside()));
  const XmlElement body = WrittenInto(writer, "SyncBody");
  EXPECT_EQ(ChildNames(body), (Names{"Add", "Add"}));
  EXPECT_EQ(CmdIds(body), (Names{"7", "8"}));
  EXPECT_EQ(body.Children()[1].Children()[1].Children()[0].OwnText(), "ZV-2");
}

// When the second of three items fails, the first is in the message, the
// third is not, and the collection's message comes once.
template <class Fill>
void ExpectStopAtSecond(const char* element, const char* message, Fill fill) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer(element, 2);
  EXPECT_FALSE(fill(writer.Outside()));
  EXPECT_EQ(BoxTexts(scoped), Names{message}) << element;
  EXPECT_EQ(CountOf(scoped.log.lines, message), 1) << element;
  const XmlElement body = WrittenInto(writer, "SyncBody");
  EXPECT_EQ(body.Children().size(), 1u) << element;
  EXPECT_EQ(CmdIds(body), Names{"1"}) << element;
}

TEST(TerminColTest, SecondOfThreeFailingStopsWithOneMessage) {
  ExpectStopAtSecond("Add", kAddReplaceFailed, [](XmlWriter::Element body) {
    clZVAddTerminCol col;
    for (int32_t id = 1; id <= 3; ++id) col.Add(clZVTermin(), id);
    return col.CreateXMLSource(body);
  });
  ExpectStopAtSecond("Replace", kAddReplaceFailed, [](XmlWriter::Element body) {
    clZVReplaceTerminCol col;
    for (int32_t id = 1; id <= 3; ++id) col.Add(Termin("x"), id, false);
    return col.CreateXMLSource(body);
  });
  ExpectStopAtSecond("Delete", kDeleteMapFailed, [](XmlWriter::Element body) {
    clZVDeleteTerminCol col;
    for (int32_t id = 1; id <= 3; ++id) col.Add(Key("a", "b"), id);
    return col.CreateXMLSource(body);
  });
  ExpectStopAtSecond("Map", kDeleteMapFailed, [](XmlWriter::Element body) {
    clZVMapTerminCol col;
    for (int32_t id = 1; id <= 3; ++id) col.Add(Key("a", "b"), id);
    return col.CreateXMLSource(body);
  });
}

TEST(AddTerminColTest, FailingPayloadLeavesThePartialCommandAndStops) {
  test::ScopedProcess scoped;
  scoped.ActivateLog();
  FailingWriter writer("VEvent", 2);
  clZVAddTerminCol col;
  for (int32_t id = 1; id <= 3; ++id) col.Add(clZVTermin(), id);
  EXPECT_FALSE(col.CreateXMLSource(writer.Outside()));
  EXPECT_EQ(
      BoxTexts(scoped),
      (Names{"XML-Daten für Subitem 'Termin' konnten nicht erstellt werden.", kAddReplaceFailed}));
  const XmlElement body = WrittenInto(writer, "SyncBody");
  EXPECT_EQ(CmdIds(body), (Names{"1", "2"}));
  EXPECT_EQ(ChildNames(body.Children()[1]), Names{"CmdID"});
}

}  // namespace
}  // namespace kdzv
