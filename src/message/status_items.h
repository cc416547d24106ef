// Status and alert items: a status answers one command of the other side
// with a result code; an alert announces the kind of exchange ("Session
// Start" 206, "Slow Sync" 201, "Session End").
//
// Both read themselves from a received element and write themselves into a
// message; each returns an error text, empty on success.
#ifndef KDZV_MESSAGE_STATUS_ITEMS_H_
#define KDZV_MESSAGE_STATUS_ITEMS_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "message/xml_node.h"
#include "message/xml_writer.h"
#include "util/keyed_collection.h"

namespace kdzv {

// Alert codes.
inline constexpr int32_t kAlertSessionStart = 206;
inline constexpr int32_t kAlertSlowSync = 201;

class clZVStatus {
 public:
  static constexpr std::string_view kModule = "clZVStatus";

  std::string Cmd;     // "Add", "Replace", "Delete", "SyncHdr"
  std::string CmdID;   // this item's own command number
  std::string CmdRef;  // the answered command's number
  std::string MsgRef;  // the number of the message that held it
  std::string Data;    // result code, e.g. "200"
  std::string Text;

  std::string ReadFromXMLNode(const XmlNode& node);
  // "Status" with Cmd, CmdID, CmdRef, MsgRef, Data and Text, all always.
  std::string CreateXMLSource(XmlWriter::Element parent) const;
};

class clZVAlert {
 public:
  static constexpr std::string_view kModule = "clZVAlert";

  int32_t CmdID = 0;
  int32_t Data = 0;
  std::string Text;

  std::string ReadFromXMLNode(const XmlNode& node);
  // "Alert" with CmdID, Data and Text.
  std::string CreateXMLSource(XmlWriter::Element parent) const;
};

class clZVStatusCol : public KeyedCollection<clZVStatus> {
 public:
  static constexpr std::string_view kModule = "clZVStatusCol";
  using KeyedCollection::Add;
  // A new status with these fields, under `sKey` when it is not empty.
  std::shared_ptr<clZVStatus> Add(std::string_view Cmd, std::string_view CmdID,
                                  std::string_view CmdRef, std::string_view MsgRef,
                                  std::string_view Data, std::string_view Text,
                                  std::string_view sKey = {});
  std::string CreateXMLSource(XmlWriter::Element parent) const;
};

class clZVAlertCol : public KeyedCollection<clZVAlert> {
 public:
  static constexpr std::string_view kModule = "clZVAlertCol";
  using KeyedCollection::Add;
  // A new alert; `sItem` is the item text of the alert (unused by the
  // alerts the component sends), kept for the callers' argument order.
  std::shared_ptr<clZVAlert> Add(std::string_view Text, int32_t CmdID, int32_t Data,
                                 std::string_view sItem, std::string_view sKey = {});
  std::string CreateXMLSource(XmlWriter::Element parent) const;
};

}  // namespace kdzv

#endif  // KDZV_MESSAGE_STATUS_ITEMS_H_
