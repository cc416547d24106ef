#include "com/registration_table.h"

namespace kdzv::com::table {

std::vector<Row> Rows(const std::string& dll_path, const std::string& dll_folder,
                      const std::string& platform) {
  std::vector<Row> rows;
  for (const ClassRecord& entry : kClasses) {
    const std::string clsid = entry.clsid;
    const std::string prog_id = std::string(kProgIdPrefix) + entry.name;
    const std::string class_key = "CLSID\\" + clsid;
    rows.push_back({prog_id, "", entry.name});
    rows.push_back({prog_id + "\\CLSID", "", clsid});
    rows.push_back({class_key, "", entry.name});
    rows.push_back({class_key + "\\InprocServer32", "", dll_path});
    rows.push_back({class_key + "\\InprocServer32", "ThreadingModel", "Apartment"});
    rows.push_back({class_key + "\\ProgID", "", prog_id});
    rows.push_back({class_key + "\\TypeLib", "", kLibraryId});
    rows.push_back({class_key + "\\Version", "", kLibraryVersion});
  }
  const std::string library_key = std::string("TypeLib\\") + kLibraryId + "\\" + kLibraryVersion;
  rows.push_back({library_key, "", kLibraryName});
  rows.push_back({library_key + "\\0\\" + platform, "", dll_path});
  rows.push_back({library_key + "\\FLAGS", "", "0"});
  rows.push_back({library_key + "\\HELPDIR", "", dll_folder});
  for (const InterfaceRecord& entry : kInterfaces) {
    const std::string key = std::string("Interface\\") + entry.iid;
    const char* marshaler = entry.dispinterface ? kDispatchMarshaler : kDualMarshaler;
    rows.push_back({key, "", entry.name});
    rows.push_back({key + "\\ProxyStubClsid", "", marshaler});
    rows.push_back({key + "\\ProxyStubClsid32", "", marshaler});
    rows.push_back({key + "\\TypeLib", "", kLibraryId});
    rows.push_back({key + "\\TypeLib", "Version", kLibraryVersion});
  }
  return rows;
}

std::string FolderWithSeparator(const std::string& path) {
  const size_t slash = path.find_last_of("\\/");
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

}  // namespace kdzv::com::table
