// Feeds arbitrary bytes to the message reader: the Linux parser adapter and
// then the whole walk over header and commands, with every item the reader
// makes (appointments with their local times, calendars, attributes,
// statuses). Reports and log lines go nowhere; only a crash counts.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "interface/file_system.h"
#include "interface/process.h"
#include "mapping/time_zone.h"
#include "message/up_down_file.h"
#include "message/xml_parser.h"
#include "platform/posix/libxml2_parser.h"

namespace {

// Hands the fuzzer's bytes to the reader as if they were the file's.
class BytesParser : public kdzv::XmlParser {
 public:
  kdzv::XmlReadResult ReadFile(const std::string&, kdzv::XmlStreamSink& sink,
                               uint64_t& file_bytes) override {
    file_bytes = bytes.size();
    return inner_.ReadBytes(bytes, sink);
  }
  kdzv::XmlReadResult ReadBytes(std::string_view data, kdzv::XmlStreamSink& sink) override {
    return inner_.ReadBytes(data, sink);
  }
  std::string_view bytes;

 private:
  kdzv::posix::Libxml2Parser inner_;
};

// The reader never writes.
class NoFiles : public kdzv::FileSystem {
 public:
  void AppendToFile(std::string_view, std::string_view) override { __builtin_trap(); }
  void WriteTextFileParts(std::string_view, std::span<const std::string_view>) override {
    __builtin_trap();
  }
  bool FolderExists(std::string_view) override { __builtin_trap(); }
  std::vector<std::string> ListFiles(std::string_view) override { __builtin_trap(); }
  std::string BuildPath(std::string_view, std::string_view) override { __builtin_trap(); }
  void CopyFile(std::string_view, std::string_view) override { __builtin_trap(); }
  void MoveFile(std::string_view, std::string_view) override { __builtin_trap(); }
  void DeleteFile(std::string_view) override { __builtin_trap(); }
  bool TryExclusiveAccess(std::string_view) override { __builtin_trap(); }
  bool HeldByAnotherProcess(std::string_view) override { __builtin_trap(); }
  std::vector<kdzv::FolderEntry> ListEntries(std::string_view) override { __builtin_trap(); }
  std::optional<kdzv::FolderEntry> EntryAt(std::string_view) override { __builtin_trap(); }
  void RenameReplacing(std::string_view, std::string_view) override { __builtin_trap(); }
};

// Central European offsets, so that service times are converted.
class Zone : public kdzv::TimeZoneSource {
 public:
  kdzv::ZoneInformation GetTimeZoneInformation() override { return {1, -60, -60}; }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static BytesParser parser;
  static NoFiles files;
  static Zone zone;
  kdzv::process::SetTimeZone(&zone);
  parser.bytes = std::string_view(reinterpret_cast<const char*>(data), size);
  kdzv::clZVUpDownFile message(parser, files, "fuzz.example");
  if (message.AnalyzeDownFile("fuzz.xml")) {
    // Everything read must be usable: walk what the host would be given.
    size_t total = message.SyncHdr().VerDTD.size();
    for (const auto& item : message.AddTerminCol()) {
      total += item->Termin->Attributes.Count();
      for (const auto& attribute : item->Termin->Attributes) {
        if (const auto value = attribute->FirstValue()) total += value->Title.size();
      }
    }
    for (const auto& item : message.ReplaceTerminCol()) total += item->Termin->Source.size();
    for (const auto& item : message.DeleteTerminCol()) total += item->TerminKey->TerminKeySource.size();
    for (const auto& item : message.AddCalendarCol()) total += item->Calendar->Title.size();
    for (const auto& item : message.AddAttributesCol()) total += item->AAttribute->Values.Count();
    for (const auto& status : message.StatusCol()) total += status->Data.size();
    if (total == SIZE_MAX) __builtin_trap();
  }
  return 0;
}
