#include "message/termin_collections.h"

#include <string>
#include <utility>

#include "interface/component_log.h"
#include "interface/error_report.h"
#include "util/error.h"

namespace kdzv {
namespace {

constexpr std::string_view kAddReplaceFailed =
    "CreateXMLSource fehlgeschlagen für SubItem 'clZVAddReplaceItem'.";
constexpr std::string_view kDeleteMapFailed =
    "CreateXMLSource fehlgeschlagen für SubItem 'clZVDeleteMapItem'.";

// Writes every item of `collection` as its own `name` element directly
// under `parent`. The first failing item is told about with `failure` and
// ends the loop; the items after it are not written.
template <class Collection>
bool WriteEach(const Collection& collection, std::string_view module, XmlWriter::Element parent,
               std::string_view name, std::string_view failure) {
  try {
    for (const auto& item : collection) {
      if (!item->CreateXMLSource(parent, name)) {
        ReportLine(failure);
        return false;
      }
    }
    return true;
  } catch (...) {
    ReportCurrentError(module, "CreateXMLSource", "");
    return false;
  }
}

std::shared_ptr<clZVDeleteMapItem> NewDeleteMapItem(const clZVTerminKey& key, int32_t CmdID) {
  auto item = std::make_shared<clZVDeleteMapItem>();
  item->CmdID = CmdID;
  item->TerminKey->TerminKeySource = key.TerminKeySource;
  item->TerminKey->TerminKeyTarget = key.TerminKeyTarget;
  return item;
}

}  // namespace

// --- clZVAddTerminCol -------------------------------------------------------

std::shared_ptr<clZVAddReplaceItem> clZVAddTerminCol::Add(const clZVTermin& Termin, int32_t CmdID,
                                                          std::string_view sKey) {
  auto item = std::make_shared<clZVAddReplaceItem>();
  item->Termin = Termin.Copy();
  item->CmdID = CmdID;
  return KeyedCollection::Add(std::move(item), sKey);
}

std::shared_ptr<clZVAddReplaceItem> clZVAddTerminCol::AddRead(std::shared_ptr<clZVTermin> Termin,
                                                              int32_t CmdID) {
  if (!Termin) RaiseStandard(err::kInvalidCall);
  Termin->Attributes.ForgetKeys();
  Termin->OnlyStatusChanged = false;
  auto item = std::make_shared<clZVAddReplaceItem>(std::move(Termin));
  item->CmdID = CmdID;
  return KeyedCollection::Add(std::move(item));
}

bool clZVAddTerminCol::CreateXMLSource(XmlWriter::Element parent) const {
  return WriteEach(*this, kModule, parent, "Add", kAddReplaceFailed);
}

// --- clZVReplaceTerminCol ---------------------------------------------------

std::shared_ptr<clZVAddReplaceItem> clZVReplaceTerminCol::Add(std::shared_ptr<clZVTermin> Termin,
                                                              int32_t CmdID, bool OnlyStatusChanged,
                                                              std::string_view sKey) {
  if (!Termin) RaiseStandard(err::kInvalidCall);
  auto item = std::make_shared<clZVAddReplaceItem>();
  Termin->OnlyStatusChanged = OnlyStatusChanged;
  item->Termin = std::move(Termin);
  item->CmdID = CmdID;
  return KeyedCollection::Add(std::move(item), sKey);
}

bool clZVReplaceTerminCol::CreateXMLSource(XmlWriter::Element parent) const {
  return WriteEach(*this, kModule, parent, "Replace", kAddReplaceFailed);
}

// --- clZVDeleteTerminCol ----------------------------------------------------

std::shared_ptr<clZVDeleteMapItem> clZVDeleteTerminCol::Add(const clZVTerminKey& TerminKey,
                                                            int32_t CmdID, std::string_view sKey) {
  return KeyedCollection::Add(NewDeleteMapItem(TerminKey, CmdID), sKey);
}

bool clZVDeleteTerminCol::CreateXMLSource(XmlWriter::Element parent) const {
  return WriteEach(*this, kModule, parent, "Delete", kDeleteMapFailed);
}

// --- clZVMapTerminCol -------------------------------------------------------

std::shared_ptr<clZVDeleteMapItem> clZVMapTerminCol::Add(const clZVTerminKey& TerminKey,
                                                         int32_t CmdID, std::string_view sKey) {
  return KeyedCollection::Add(NewDeleteMapItem(TerminKey, CmdID), sKey);
}

bool clZVMapTerminCol::CreateXMLSource(XmlWriter::Element parent) const {
  return WriteEach(*this, kModule, parent, "Map", kDeleteMapFailed);
}

}  // namespace kdzv
