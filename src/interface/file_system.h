// The file-system port. Failures raise kdzv::Error with the host's file
// error numbers (53 "File not found", 70 "Permission denied", 75
// "Path/File access error", 76 "Path not found", ...).
#ifndef KDZV_INTERFACE_FILE_SYSTEM_H_
#define KDZV_INTERFACE_FILE_SYSTEM_H_

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "util/date_time.h"

namespace kdzv {

// One entry of a folder, as the entry itself is: a symbolic link (on
// Windows any reparse point) is a link, whatever it points to.
struct FolderEntry {
  enum class Kind { kFile, kFolder, kLink, kOther };
  std::string name;  // without folder
  Kind kind = Kind::kOther;
  DateTime last_write;  // local time, to the second
  uint64_t size = 0;    // bytes; 0 for anything but a file
};

class FileSystem {
 public:
  virtual ~FileSystem() = default;
  // Opens `path` for appending (creating it), writes `text`, closes it. The
  // text (UTF-8) is written in the encoding of the system's text files:
  // UTF-8 on Linux (read in UTF-8 terminals), the ANSI code page on Windows
  // (a character it does not hold becomes "?"; UTF-8 where that is the ANSI
  // code page). A symbolic link at `path` is refused, never written through;
  // on Windows so is a read-only file, and a file that this creates may be
  // changed by every user of the PC.
  virtual void AppendToFile(std::string_view path, std::string_view text) = 0;

  // Creates or replaces `path` with `text` (UTF-8) converted to the system's
  // code page for text files: Windows-1252 on Linux, the ANSI code page on
  // Windows (UTF-8 where that is the ANSI code page). A character the code
  // page does not hold becomes "?". A
  // symbolic link standing at `path` is removed and replaced by the file,
  // never written through.
  void WriteTextFile(std::string_view path, std::string_view text) {
    WriteTextFileParts(path, std::span<const std::string_view>(&text, 1));
  }

  // The same for a text held in parts, written one after another, so that a
  // large message is never joined into one string first. Every part but the
  // last ends right before an ASCII character (a part never ends inside a
  // character).
  virtual void WriteTextFileParts(std::string_view path,
                                  std::span<const std::string_view> parts) = 0;

  // Whether `path` names an existing folder (false for a file or nothing;
  // never raises).
  virtual bool FolderExists(std::string_view path) = 0;

  // The names (without folder) of the files in `folder`, in the order the
  // system lists them (on Linux: by name, byte for byte); sub-folders are not listed, and neither are symbolic
  // links (on Windows: reparse points) or other entries that are no plain
  // file, so that nothing outside the folder is ever reached through one.
  // Raises 76 for a missing folder.
  virtual std::vector<std::string> ListFiles(std::string_view folder) = 0;

  // `folder` and `name` joined with the platform's separator, inserted only
  // where `folder` does not already end in one ("" + name is name).
  virtual std::string BuildPath(std::string_view folder, std::string_view name) = 0;

  // Copies `source` to `target`, replacing a file of that name. Raises 53
  // for a missing source, 76 for a missing target folder, 70 when the
  // target cannot be replaced.
  virtual void CopyFile(std::string_view source, std::string_view target) = 0;

  // Moves the file `source` to `target` (its new full path). A file of that
  // name already at `target` is never replaced: the move then raises 58
  // "File already exists" and leaves both files as they were, and that is
  // decided in the same step as the move itself (no other writer can slip
  // in between a check and the move). Works across drives and file systems
  // (copied, then the source deleted). Raises 53 for a missing source, 76
  // for a missing target folder; a symbolic link as the source is refused.
  virtual void MoveFile(std::string_view source, std::string_view target) = 0;

  // Deletes `path`, also when it is read-only. Raises 53 when it does not
  // exist, 70 when it cannot be deleted.
  virtual void DeleteFile(std::string_view path) = 0;

  // The exclusive-access probe: whether `path` can be opened for reading
  // and writing with both locked for everybody else; the file is closed
  // again at once and left as it was. False while another process holds the
  // file open for writing (on Linux: holds a flock() lock on it, shared or
  // exclusive, as a writer is expected to do), when the file cannot be
  // opened for writing, and when it does not exist. Never raises.
  virtual bool TryExclusiveAccess(std::string_view path) = 0;

  // Whether another process holds `path` open as a writer does (on Linux:
  // holds a flock() lock on it; on Windows: has it open at all), so that
  // moving it away would pull it from under its writer. Unlike the probe
  // above, a read-only file that nobody holds is not held. False for a
  // missing file or what is no plain file. Never raises.
  virtual bool HeldByAnotherProcess(std::string_view path) = 0;

  // Every entry of `folder` (neither "." nor ".."), in the order the system
  // lists them, each with its kind, last write and size; nothing is
  // followed or entered. Raises 76 for a missing folder.
  virtual std::vector<FolderEntry> ListEntries(std::string_view folder) = 0;

  // The entry at `path` itself (a link is not followed; `name` is left
  // empty), or nothing when there is none. Never raises.
  virtual std::optional<FolderEntry> EntryAt(std::string_view path) = 0;

  // Gives the file `source` the name `target` in the same folder or on the
  // same volume, replacing a file of that name, in one step. Raises 53 for
  // a missing source, 76 for a missing folder, 70 or 75 when `target`
  // cannot be replaced (on Windows: while another process holds it open).
  virtual void RenameReplacing(std::string_view source, std::string_view target) = 0;
};

}  // namespace kdzv

#endif  // KDZV_INTERFACE_FILE_SYSTEM_H_
