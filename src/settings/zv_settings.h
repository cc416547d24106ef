// clZVSettings: the settings of one installation, handed between host,
// component and settings dialog.
//
// The settings live in the registry store (settings/registry_tools.h) named
// "HAL+VEX" / "Halvex", per user, in the section "Zentavo": one string value
// per property, named like the property, under
//   HKEY_CURRENT_USER\Software\HAL+VEX\Halvex\Zentavo.
// A new object reads all nine values (an unset one gives its default); the
// getters answer the values read; every setter keeps the value and writes it
// to the store at once.
//
// Stored texts: Booleans "True" / "False" (read back also as "1", "-1", "0",
// in any case); integers in decimal. A stored text that cannot be read as
// its type gives the default. Failures of the store and unreadable texts
// are reported with the module name "clZVSettings" and never raised:
//   procedure "Load", details <name>              the store failed on reading
//   procedure "Load", details <name>="<text>"     unreadable stored text
//   procedure "Save", details <name>="<text>"     the store failed on writing
#ifndef KDZV_SETTINGS_ZV_SETTINGS_H_
#define KDZV_SETTINGS_ZV_SETTINGS_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "settings/registry_tools.h"

namespace kdzv {

class clZVSettings {
 public:
  static constexpr std::string_view ClassName() { return "clZVSettings"; }
  static constexpr std::string_view kCompanyName = "HAL+VEX";
  static constexpr std::string_view kProductName = "Halvex";
  static constexpr std::string_view kSection = "Zentavo";

  // Creates the store on `registry` and reads all settings from it.
  explicit clZVSettings(RegistryBackend& registry);
  // Creates the store with every setting at its default, without reading.
  // The interface object keeps such an object first and then lets it Load,
  // so that a failure reported while the values are read is logged through
  // this very object (with the DoLog read so far) and never makes it create
  // another one.
  struct Unread {};
  clZVSettings(RegistryBackend& registry, Unread);
  clZVSettings(const clZVSettings&) = delete;
  clZVSettings& operator=(const clZVSettings&) = delete;

  const std::string& DownloadPath() const { return Text(kDownloadPath); }
  void SetDownloadPath(std::string_view value) { Put(kDownloadPath, std::string(value)); }
  const std::string& UploadPath() const { return Text(kUploadPath); }
  void SetUploadPath(std::string_view value) { Put(kUploadPath, std::string(value)); }
  bool DoLog() const { return Boolean(kDoLog); }
  void SetDoLog(bool value) { Put(kDoLog, value); }
  const std::string& FilePraefix() const { return Text(kFilePraefix); }
  void SetFilePraefix(std::string_view value) { Put(kFilePraefix, std::string(value)); }
  const std::string& AblagePath() const { return Text(kAblagePath); }
  void SetAblagePath(std::string_view value) { Put(kAblagePath, std::string(value)); }
  bool SlowSync() const { return Boolean(kSlowSync); }
  void SetSlowSync(bool value) { Put(kSlowSync, value); }
  const std::string& SystemName() const { return Text(kSystemName); }
  void SetSystemName(std::string_view value) { Put(kSystemName, std::string(value)); }
  int16_t TimeoutSeconds() const { return Integer(kTimeoutSeconds); }
  void SetTimeoutSeconds(int16_t value) { Put(kTimeoutSeconds, value); }
  int16_t PatIdentKriterium() const { return Integer(kPatIdentKriterium); }
  void SetPatIdentKriterium(int16_t value) { Put(kPatIdentKriterium, value); }

  // Reads all settings from the store, in the order of PropertyNames. A
  // value that fails takes its default and is reported once; until DoLog has
  // been read it answers its default (off).
  void Load();

  // The property names in the order of the type library.
  static const std::vector<std::string_view>& PropertyNames();
  // Whether `name` is a property name (in any case).
  static bool IsPropertyName(std::string_view name);

  // The value of property `name` (in any case) as it is stored: text as it
  // is, "True"/"False", decimal integers; "" for an unknown name.
  std::string GetAsText(std::string_view name) const;
  // Sets property `name` from `text` and writes it through. Booleans take
  // true/false/1/0/-1 in any case, integers a decimal 16-bit number. On an
  // unknown name or an unfitting text nothing changes, `error` (when given)
  // tells why and the answer is false.
  bool SetFromText(std::string_view name, std::string_view text, std::string* error = nullptr);

  clsRegistryTools& Store() { return store_; }

 private:
  enum Index : size_t {
    kDownloadPath,
    kUploadPath,
    kDoLog,
    kFilePraefix,
    kAblagePath,
    kSlowSync,
    kSystemName,
    kTimeoutSeconds,
    kPatIdentKriterium,
    kCount
  };
  using Value = std::variant<std::string, bool, int16_t>;

  static Value Default(size_t index);
  static std::string TextOf(const Value& value);

  const std::string& Text(Index index) const { return std::get<std::string>(values_[index]); }
  bool Boolean(Index index) const { return std::get<bool>(values_[index]); }
  int16_t Integer(Index index) const { return std::get<int16_t>(values_[index]); }
  // Keeps the value and writes it to the store.
  void Put(size_t index, Value value);
  void LoadOne(size_t index);

  clsRegistryTools store_;
  std::array<Value, kCount> values_;
};

}  // namespace kdzv

#endif  // KDZV_SETTINGS_ZV_SETTINGS_H_
