// clZVUpDownFile: one message file. AnalyzeDownFile reads an answer of the
// service's agent into the header and one collection per command kind;
// CreateUpFile writes the header and the collections of a message of the
// component into the upload folder.
#ifndef KDZV_MESSAGE_UP_DOWN_FILE_H_
#define KDZV_MESSAGE_UP_DOWN_FILE_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "interface/file_system.h"
#include "message/calendar_collections.h"
#include "message/calendar_items.h"
#include "message/opening_time_items.h"
#include "message/session_info.h"
#include "message/status_items.h"
#include "message/termin_collections.h"
#include "message/termin_items.h"
#include "message/xml_parser.h"
#include "message/xml_writer.h"

namespace kdzv {

class clZVUpDownFile {
 public:
  static constexpr std::string_view kModule = "clZVUpDownFile";
  static constexpr size_t kMaxHeldReportBytes = size_t{4} * 1024 * 1024;

  // `parser` reads received files, `file_system` writes the component's;
  // `service_host` is the web host of the message namespace.
  clZVUpDownFile(XmlParser& parser, FileSystem& file_system, std::string service_host);

  // Reads the file at `path`, one command at a time. True when it was
  // loaded, had the root "SyncML" and all its children were walked (single
  // bad commands are reported and skipped); false when it could not be
  // loaded, was too large or has another root. Nothing is logged or shown
  // about its content before the file is known to be well-formed to its end.
  //
  // The file is read once; a file that makes so many reports that holding
  // them would cost more than kMaxHeldReportBytes is checked to its end and
  // then read a second time, reporting as it goes.
  bool AnalyzeDownFile(std::string_view path);

  // Numbers the commands 1, 2, 3 ... (statuses first) and writes the
  // message to `path`. False when the header could not be made or the file
  // could not be written.
  bool CreateUpFile(std::string_view path);

  // The parts of the message, each created on first access.
  clZVSyncHdr& SyncHdr();
  clZVAddTerminCol& AddTerminCol();
  clZVReplaceTerminCol& ReplaceTerminCol();
  clZVDeleteTerminCol& DeleteTerminCol();
  clZVMapTerminCol& MapTerminCol();
  clZVAddCalendarCol& AddCalendarCol();
  clZVMapCalendarCol& MapCalendarCol();
  clZVAddAttributesCol& AddAttributesCol();
  clZVReplaceOpeningTimeCol& ReplaceOpeningTimeCol();
  clZVStatusCol& StatusCol();
  clZVAlertCol& AlertCol();
  clZVSessionInfo& SessionInfo();

  // The writers that write the messages; plain XmlWriters unless another
  // factory is set (a test makes the making of one element fail).
  using WriterFactory = std::function<std::unique_ptr<XmlWriter>()>;
  void SetWriterFactory(WriterFactory factory) { writer_factory_ = std::move(factory); }

  // Releases the added attributes, which AnalyzeDownFile keeps on purpose.
  void ReleaseAddAttributesCol() { add_attributes_.reset(); }

  // Whether the analysed file asked for the opening times ("Get" with an
  // "OpeningTime"), and the number of that command.
  bool OpeningTimeRequested() const { return opening_time_requested_; }
  int32_t OpeningTimeCmdID() const { return opening_time_cmd_id_; }

  // The path given to the last AnalyzeDownFile.
  const std::string& FileName() const { return file_name_; }

 private:
  class Reading;
  class AddReplaceReader;

  void ReleaseReceived();
  void ReadHeader(const XmlNode& header);
  void ReadLocation(const XmlNode& location, clZVSourceTargetItem& item);
  void ReadCommand(const XmlNode& command);
  void ReadGet(const XmlNode& get);
  int32_t NumberCommands();

  XmlParser& parser_;
  FileSystem& file_system_;
  std::string service_host_;
  WriterFactory writer_factory_;

  std::string file_name_;
  bool opening_time_requested_ = false;
  int32_t opening_time_cmd_id_ = 0;

  std::unique_ptr<clZVSyncHdr> header_;
  std::unique_ptr<clZVAddTerminCol> add_termine_;
  std::unique_ptr<clZVReplaceTerminCol> replace_termine_;
  std::unique_ptr<clZVDeleteTerminCol> delete_termine_;
  std::unique_ptr<clZVMapTerminCol> map_termine_;
  std::unique_ptr<clZVAddCalendarCol> add_calendars_;
  std::unique_ptr<clZVMapCalendarCol> map_calendars_;
  std::unique_ptr<clZVAddAttributesCol> add_attributes_;
  std::unique_ptr<clZVReplaceOpeningTimeCol> replace_opening_times_;
  std::unique_ptr<clZVStatusCol> statuses_;
  std::unique_ptr<clZVAlertCol> alerts_;
  std::unique_ptr<clZVSessionInfo> session_info_;
};

}  // namespace kdzv

#endif  // KDZV_MESSAGE_UP_DOWN_FILE_H_
