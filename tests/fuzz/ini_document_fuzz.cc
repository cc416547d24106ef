// Fuzz target: the INI engine behind the settings store and the
// configuration file. Any text is parsed, read, changed and written again;
// a crash, a sanitizer finding or a broken round trip is a failure.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/posix/ini_document.h"
#include "util/error.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using kdzv::posix::IniDocument;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  IniDocument doc = IniDocument::Parse(text);
  // What is written reads back with the same sections, keys and values.
  const IniDocument again = IniDocument::Parse(doc.Serialize(doc.line_end()));
  if (again.Sections() != doc.Sections()) __builtin_trap();
  for (const std::string& section : doc.Sections()) {
    const auto entries = doc.Entries(section);
    if (again.Entries(section) != entries) __builtin_trap();
    for (const auto& entry : entries) {
      if (doc.Get(section, entry.first) != entry.second) __builtin_trap();
    }
  }
  // A change through the engine reads back.
  const std::string_view section = text.substr(0, text.size() < 8 ? text.size() : 8);
  try {
    doc.Set(section, "LastSessionID", "17");
    if (doc.Get(section, "LastSessionID") != "17") __builtin_trap();
    doc.RemoveSection(section);
  } catch (const kdzv::Error&) {
    // A name that cannot stand in one line is refused: fine.
  }
  (void)doc.Serialize("\r\n");
  return 0;
}
