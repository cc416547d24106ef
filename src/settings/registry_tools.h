// clsRegistryTools: the component's settings as string values in the
// registry, per user (HKEY_CURRENT_USER) or per machine (HKEY_LOCAL_MACHINE),
// below "Software\" + MyCompanyName + "\" + MyProductName + "\" + section.
//
// The users of the class decide what is stored; this class decides where and
// how, and turns every registry failure into a raised kdzv::Error whose
// description carries the failing call and its result code and whose source
// is the operation that failed. It is the one class of the component that
// raises to its caller; the callers report.
//
// Numbers of the raised errors (description, source):
//   kObjectError + 1  "RegCreateKeyEx failed (<code>)"           DoOpenRegistryKey,
//                                                                 GetValueOfAClass
//   kObjectError + 2  "RegSetValueEx failed (<code>)"            MySaveSetting
//   kObjectError + 3  "RegCloseKey failed (<code>)"              MySaveSetting, MyGetSetting,
//                                                                 GetValueOfAClass
//   kObjectError + 4  "RegQueryValueEx failed  (<code>)"         MyGetSetting, GetValueOfAClass
//                     (two blanks: the query of the key's value sizes)
//   kObjectError + 5  "Key not found and no default specified (2)"
//                                                                 MyGetSetting, GetValueOfAClass
//   kObjectError + 6  "RegQueryValueEx failed (<code>)"          MyGetSetting, GetValueOfAClass
//                     (one blank: the query of the value itself)
#ifndef KDZV_SETTINGS_REGISTRY_TOOLS_H_
#define KDZV_SETTINGS_REGISTRY_TOOLS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "settings/registry_backend.h"
#include "util/error.h"

namespace kdzv {

namespace registry_error {
inline constexpr int32_t kCreateKey = err::kObjectError + 1;
inline constexpr int32_t kSetValue = err::kObjectError + 2;
inline constexpr int32_t kCloseKey = err::kObjectError + 3;
inline constexpr int32_t kQueryInfo = err::kObjectError + 4;
inline constexpr int32_t kNoDefault = err::kObjectError + 5;
inline constexpr int32_t kQueryValue = err::kObjectError + 6;
}  // namespace registry_error

class clsRegistryTools {
 public:
  explicit clsRegistryTools(RegistryBackend& backend) : backend_(backend) {}
  clsRegistryTools(const clsRegistryTools&) = delete;
  clsRegistryTools& operator=(const clsRegistryTools&) = delete;

  const std::string& MyCompanyName() const { return company_; }
  void SetMyCompanyName(std::string value) { company_ = std::move(value); }
  const std::string& MyProductName() const { return product_; }
  void SetMyProductName(std::string value) { product_ = std::move(value); }

  // Per user.
  void LocalSaveSetting(std::string_view section, std::string_view key, std::string_view value);
  std::string LocalGetSetting(std::string_view section, std::string_view key,
                              std::optional<std::string> default_value = std::nullopt);
  // Per machine.
  void GlobalSaveSetting(std::string_view section, std::string_view key, std::string_view value);
  std::string GlobalGetSetting(std::string_view section, std::string_view key,
                               std::optional<std::string> default_value = std::nullopt);

  // Stores `value` as a string value named `key` in the section's key
  // (created when missing).
  void MySaveSetting(RegistryRoot root, std::string_view section, std::string_view key,
                     std::string_view value);
  // Reads the string value `key` of the section's key. Opening creates the
  // section key, so a read of a missing value leaves an empty key behind.
  // A missing value gives `default_value`, or raises without one.
  std::string MyGetSetting(RegistryRoot root, std::string_view section, std::string_view key,
                           std::optional<std::string> default_value = std::nullopt);

  // Creates or opens the section's key with `access` and returns its handle,
  // which the caller closes.
  RegistryBackend::Handle DoOpenRegistryKey(RegistryRoot root, std::string_view section,
                                            uint32_t access);

  // Whether the process may write below the product's key under
  // HKEY_LOCAL_MACHINE: creates and deletes a probe key. Never raises.
  bool CanOpenGlobalRegKey();

  // Below HKEY_CLASSES_ROOT: reads the class id (the unnamed value of
  // class_name + "\Clsid"), then the value `value_name` of "CLSID\" + that
  // id ("" for the key's unnamed value). Keys are only opened, never created.
  std::string GetValueOfAClass(std::string_view class_name, std::string_view value_name = {});

  // "Software\" + company + "\" + product + "\" + section.
  std::string SectionPath(std::string_view section) const;

 private:
  // Steps 2 to 7 of a read on an opened key; closes `key` in every case.
  std::string ReadValue(RegistryBackend::Handle key, std::string_view name,
                        const std::optional<std::string>& default_value, const char* source);
  // A read below HKEY_CLASSES_ROOT through an open-only key.
  std::string ReadClassValue(const std::string& path, std::string_view name);

  RegistryBackend& backend_;
  std::string company_;
  std::string product_;
};

}  // namespace kdzv

#endif  // KDZV_SETTINGS_REGISTRY_TOOLS_H_
