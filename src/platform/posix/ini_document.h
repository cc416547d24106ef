// An INI file held in memory, with the reading rules of the Windows profile
// functions: section and key names are matched without regard to case,
// values are trimmed and one pair of surrounding quotes (" or ') is
// stripped, lines starting with ';' are comments. Writing keeps every other
// line of the file as it was.
//
// Used by the profile-file port (the ".cfg" file) and by the file-backed
// registry of Linux.
#ifndef KDZV_PLATFORM_POSIX_INI_DOCUMENT_H_
#define KDZV_PLATFORM_POSIX_INI_DOCUMENT_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kdzv::posix {

class IniDocument {
 public:
  IniDocument() = default;
  // Parses INI text (LF or CR LF line ends; a UTF-8 byte-order mark is skipped).
  static IniDocument Parse(std::string_view text);
  // The largest file Load reads: settings and configuration files hold a
  // few hundred bytes; anything beyond this is no such file.
  // (Held in memory a line takes up to about 100 bytes: a file of blank
  // lines at the limit costs some 30 MB at most.)
  static constexpr size_t kMaxFileBytes = 256 * 1024;

  // Reads `path`; a missing file gives an empty document. Raises kdzv::Error
  // when the file exists but cannot be read, and "Path/File access error"
  // (75) when it is no regular file (a folder, a pipe, a device: never
  // waited on, never read without end) or holds more than kMaxFileBytes.
  static IniDocument Load(const std::string& path);

  std::optional<std::string> Get(std::string_view section, std::string_view key) const;
  bool HasSection(std::string_view section) const;
  // The keys of a section, in file order (empty when it does not exist).
  std::vector<std::string> Keys(std::string_view section) const;
  // The keys of a section with their values, in file order; a repeated key
  // counts once, with its first value (as Get reads it).
  std::vector<std::pair<std::string, std::string>> Entries(std::string_view section) const;
  std::vector<std::string> Sections() const;
  bool HasAnySection() const;

  // Sets a key, appending the section and/or the key when they are missing.
  // A new key goes after the last key of its section, a new section at the
  // end of the document. Raises "Invalid procedure call or argument" (5) for
  // names or values that cannot be written as one line (a line break, a
  // key that is empty, holds '=' or starts with ';' or '[').
  void Set(std::string_view section, std::string_view key, std::string_view value);
  // Adds an empty section when it does not exist.
  void AddSection(std::string_view section);
  // Removes a section with all its keys; false when there was none. Every
  // line from its header up to the next header goes (comments included), and
  // so does every further section of the same name.
  bool RemoveSection(std::string_view section);

  // The line end the document writes: the one of its first line as read
  // ("\r\n" or "\n"); "\r\n" for a new document or one without any line end.
  const std::string& line_end() const { return line_end_; }

  // The text of the document, lines ended by `line_end`. A byte-order mark
  // read by Parse() is written again, and a last line that had no line end
  // still has none.
  std::string Serialize(std::string_view line_end = "\n") const;
  // Writes the document to `path` atomically: into a temporary file beside
  // it, flushed to disk, then renamed over the old file, so that a crash
  // leaves either the old or the new file, never a mix or none. Creates
  // missing parent folders when `create_folders`. Raises kdzv::Error with
  // the host's file error numbers on failure. The lines end with line_end();
  // a file replaced keeps its permission bits.
  void Save(const std::string& path, bool create_folders = false) const;

 private:
  enum class Kind { kOther, kHeader, kKey };
  struct Line {
    std::string text;            // the line as read or written, without its line end
    Kind kind = Kind::kOther;    // comments, blank and unparsable lines are kOther
    std::string name;            // section name of a header, key of a key line (trimmed)
  };

  // Index of the first header named `section`, or npos.
  size_t FindHeader(std::string_view section, size_t from = 0) const;
  // Index one past the last line of the section whose header is at `header`.
  size_t SectionEnd(size_t header) const;
  // Index of the first line of key `key` in the section at `header`, or npos.
  size_t FindKey(size_t header, std::string_view key) const;
  // Appends a line at the end of the document.
  void AppendLine(Line line);

  std::vector<Line> lines_;
  std::string line_end_ = "\r\n";
  bool has_bom_ = false;
  // Whether the last line is followed by a line end.
  bool ends_with_line_end_ = true;
};

}  // namespace kdzv::posix

#endif  // KDZV_PLATFORM_POSIX_INI_DOCUMENT_H_
