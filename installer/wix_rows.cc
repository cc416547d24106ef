// Writes the installer package's WiX source: the template with the library's
// registry rows put in place of its two marker lines, built from the same
// table as the library's own registration: the ProgIDs, which both registry
// views share, into the component that both architectures' packages hold,
// every other row into the library's component. Also lists the rows,
// tab-separated with their component, for the check of the built package.
//   kdzv_wix_rows PLATFORM TEMPLATE OUTPUT_WXS OUTPUT_ROWS
// PLATFORM is the type library's platform, win32 or win64. A native program:
// it runs on the build machine, whatever the target.
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "com/registration_table.h"

namespace {

// The file's id in the package (<File Id=...>): "[#id]" is its full path
// once installed, "[INSTALLDIR]" its folder with the closing backslash.
constexpr char kDllReference[] = "[#kdZentavo.dll]";
constexpr char kFolderReference[] = "[INSTALLDIR]";
constexpr char kMarker[] = "<!-- registry rows -->";
constexpr char kSharedMarker[] = "<!-- shared registry rows -->";
// The components (<Component Id=...>) of the template.
constexpr char kLibraryComponent[] = "Library";
constexpr char kSharedComponent[] = "ProgIds";

// The component of a row: the ProgIDs are the shared one's.
const char* ComponentOf(const kdzv::com::table::Row& row) {
  return row.key.rfind(kdzv::com::table::kProgIdPrefix, 0) == 0 ? kSharedComponent
                                                                 : kLibraryComponent;
}

std::string Escape(const std::string& text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      default: out.push_back(c);
    }
  }
  return out;
}

// The rows of `component`. The first value is the component's key path
// when `key_path` (a component without a file needs one).
std::string RegistryElements(const std::vector<kdzv::com::table::Row>& rows,
                             const std::string& component, bool key_path,
                             const std::string& indent) {
  // One <RegistryKey> per key, its values in the table's order.
  std::vector<std::string> keys;
  std::map<std::string, std::vector<const kdzv::com::table::Row*>> values;
  for (const auto& row : rows) {
    if (component != ComponentOf(row)) continue;
    if (values.count(row.key) == 0) keys.push_back(row.key);
    values[row.key].push_back(&row);
  }
  std::ostringstream out;
  for (const std::string& key : keys) {
    out << indent << "<RegistryKey Root=\"HKCR\" Key=\"" << Escape(key) << "\">\n";
    for (const auto* row : values[key]) {
      out << indent << "  <RegistryValue Type=\"string\"";
      if (!row->name.empty()) out << " Name=\"" << Escape(row->name) << "\"";
      out << " Value=\"" << Escape(row->value) << "\"";
      if (key_path) out << " KeyPath=\"yes\"";
      key_path = false;
      out << "/>\n";
    }
    out << indent << "</RegistryKey>\n";
  }
  return out.str();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::cerr << "usage: kdzv_wix_rows win32|win64 TEMPLATE OUTPUT_WXS OUTPUT_ROWS\n";
    return 2;
  }
  const std::string platform = argv[1];
  if (platform != "win32" && platform != "win64") {
    std::cerr << "kdzv_wix_rows: unknown platform " << platform << "\n";
    return 2;
  }
  std::ifstream in(argv[2], std::ios::binary);
  if (!in) {
    std::cerr << "kdzv_wix_rows: cannot read " << argv[2] << "\n";
    return 1;
  }
  const auto rows = kdzv::com::table::Rows(kDllReference, kFolderReference, platform);

  std::ostringstream wxs;
  std::string line;
  int markers = 0, shared_markers = 0;
  while (std::getline(in, line)) {
    // The shared marker holds the other one's text: looked for first.
    if (const size_t at = line.find(kSharedMarker); at != std::string::npos) {
      ++shared_markers;
      wxs << RegistryElements(rows, kSharedComponent, true, line.substr(0, at));
    } else if (const size_t at = line.find(kMarker); at != std::string::npos) {
      ++markers;
      wxs << RegistryElements(rows, kLibraryComponent, false, line.substr(0, at));
    } else {
      wxs << line << "\n";
    }
  }
  if (markers != 1 || shared_markers != 1) {
    std::cerr << "kdzv_wix_rows: the template must hold each marker line once, found "
              << markers << " and " << shared_markers << "\n";
    return 1;
  }
  std::ofstream out_wxs(argv[3], std::ios::binary);
  out_wxs << wxs.str();
  std::ofstream out_rows(argv[4], std::ios::binary);
  for (const auto& row : rows) {
    out_rows << row.key << "\t" << row.name << "\t" << row.value << "\t" << ComponentOf(row)
             << "\n";
  }
  if (!out_wxs || !out_rows) {
    std::cerr << "kdzv_wix_rows: cannot write the output\n";
    return 1;
  }
  return 0;
}
