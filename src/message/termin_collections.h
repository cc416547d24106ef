// The appointment commands of one message, one collection per command kind.
// Each item is written as its own element directly under the SyncBody.
#ifndef KDZV_MESSAGE_TERMIN_COLLECTIONS_H_
#define KDZV_MESSAGE_TERMIN_COLLECTIONS_H_

#include <cstdint>
#include <memory>
#include <string_view>

#include "message/command_items.h"
#include "message/termin_items.h"
#include "message/xml_writer.h"
#include "util/keyed_collection.h"

namespace kdzv {

// Added appointments ("Add"). Add stores a copy: later changes to the given
// appointment do not reach the item.
class clZVAddTerminCol : public KeyedCollection<clZVAddReplaceItem> {
 public:
  static constexpr std::string_view kModule = "clZVAddTerminCol";
  using KeyedCollection::Add;
  std::shared_ptr<clZVAddReplaceItem> Add(const clZVTermin& Termin, int32_t CmdID,
                                          std::string_view sKey = {});
  // Stores `Termin` itself, for an appointment just read that nothing else
  // holds: the item is the one Add would make from it (its attributes
  // listed without their keys), without copying it.
  std::shared_ptr<clZVAddReplaceItem> AddRead(std::shared_ptr<clZVTermin> Termin, int32_t CmdID);
  bool CreateXMLSource(XmlWriter::Element parent) const;
};

// Replaced appointments ("Replace"). Add refers to the given appointment
// itself and sets its OnlyStatusChanged.
class clZVReplaceTerminCol : public KeyedCollection<clZVAddReplaceItem> {
 public:
  static constexpr std::string_view kModule = "clZVReplaceTerminCol";
  using KeyedCollection::Add;
  std::shared_ptr<clZVAddReplaceItem> Add(std::shared_ptr<clZVTermin> Termin, int32_t CmdID,
                                          bool OnlyStatusChanged, std::string_view sKey = {});
  bool CreateXMLSource(XmlWriter::Element parent) const;
};

// Deleted appointments ("Delete"); Add copies the key.
class clZVDeleteTerminCol : public KeyedCollection<clZVDeleteMapItem> {
 public:
  static constexpr std::string_view kModule = "clZVDeleteTerminCol";
  using KeyedCollection::Add;
  std::shared_ptr<clZVDeleteMapItem> Add(const clZVTerminKey& TerminKey, int32_t CmdID,
                                         std::string_view sKey = {});
  bool CreateXMLSource(XmlWriter::Element parent) const;
};

// Mapped appointments ("Map"): which host id belongs to a service
// appointment. Add copies the key.
class clZVMapTerminCol : public KeyedCollection<clZVDeleteMapItem> {
 public:
  static constexpr std::string_view kModule = "clZVMapTerminCol";
  using KeyedCollection::Add;
  std::shared_ptr<clZVDeleteMapItem> Add(const clZVTerminKey& TerminKey, int32_t CmdID,
                                         std::string_view sKey = {});
  bool CreateXMLSource(XmlWriter::Element parent) const;
};

}  // namespace kdzv

#endif  // KDZV_MESSAGE_TERMIN_COLLECTIONS_H_
