#include "settings/registry_tools.h"

#include <utility>

namespace kdzv {

namespace {

constexpr std::string_view kProbeKey = "__DUMMMY__";

std::string FailureText(std::string_view call, int32_t code) {
  std::string text(call);
  text += " failed (";
  text += std::to_string(code);
  text += ")";
  return text;
}

// Closes an opened key when a step after the opening raises. The success
// path calls Close() itself and checks its result; on the error path the
// close result is ignored, so that the first failure is the one raised.
class KeyGuard {
 public:
  KeyGuard(RegistryBackend& backend, RegistryBackend::Handle key)
      : backend_(backend), key_(key) {}
  ~KeyGuard() {
    if (key_ != 0) backend_.CloseKey(key_);
  }
  KeyGuard(const KeyGuard&) = delete;
  KeyGuard& operator=(const KeyGuard&) = delete;

  RegistryBackend::Handle get() const { return key_; }
  int32_t Close() {
    const RegistryBackend::Handle key = key_;
    key_ = 0;
    return backend_.CloseKey(key);
  }

 private:
  RegistryBackend& backend_;
  RegistryBackend::Handle key_;
};

}  // namespace

std::string clsRegistryTools::SectionPath(std::string_view section) const {
  std::string path = "Software\\";
  path += company_;
  path += "\\";
  path += product_;
  path += "\\";
  path += section;
  return path;
}

void clsRegistryTools::LocalSaveSetting(std::string_view section, std::string_view key,
                                        std::string_view value) {
  MySaveSetting(RegistryRoot::kCurrentUser, section, key, value);
}

std::string clsRegistryTools::LocalGetSetting(std::string_view section, std::string_view key,
                                              std::optional<std::string> default_value) {
  return MyGetSetting(RegistryRoot::kCurrentUser, section, key, std::move(default_value));
}

void clsRegistryTools::GlobalSaveSetting(std::string_view section, std::string_view key,
                                         std::string_view value) {
  MySaveSetting(RegistryRoot::kLocalMachine, section, key, value);
}

std::string clsRegistryTools::GlobalGetSetting(std::string_view section, std::string_view key,
                                               std::optional<std::string> default_value) {
  return MyGetSetting(RegistryRoot::kLocalMachine, section, key, std::move(default_value));
}

RegistryBackend::Handle clsRegistryTools::DoOpenRegistryKey(RegistryRoot root,
                                                            std::string_view section,
                                                            uint32_t access) {
  const std::string path = SectionPath(section);
  RegistryBackend::Handle key = 0;
  const int32_t result = backend_.CreateKey(root, path, access, &key);
  if (result != reg::kSuccess) {
    Raise(registry_error::kCreateKey, FailureText("RegCreateKeyEx", result), "DoOpenRegistryKey");
  }
  return key;
}

void clsRegistryTools::MySaveSetting(RegistryRoot root, std::string_view section,
                                     std::string_view key, std::string_view value) {
  KeyGuard guard(backend_, DoOpenRegistryKey(root, section, reg::kKeyWrite));
  const int32_t set_result = backend_.SetValue(guard.get(), key, value);
  if (set_result != reg::kSuccess) {
    Raise(registry_error::kSetValue, FailureText("RegSetValueEx", set_result), "MySaveSetting");
  }
  const int32_t close_result = guard.Close();
  if (close_result != reg::kSuccess) {
    Raise(registry_error::kCloseKey, FailureText("RegCloseKey", close_result), "MySaveSetting");
  }
}

std::string clsRegistryTools::MyGetSetting(RegistryRoot root, std::string_view section,
                                           std::string_view key,
                                           std::optional<std::string> default_value) {
  return ReadValue(DoOpenRegistryKey(root, section, reg::kKeyRead), key, default_value,
                   "MyGetSetting");
}

std::string clsRegistryTools::ReadValue(RegistryBackend::Handle key, std::string_view name,
                                        const std::optional<std::string>& default_value,
                                        const char* source) {
  KeyGuard guard(backend_, key);

  size_t longest = 0;
  const int32_t info_result = backend_.QueryMaxValueLength(guard.get(), &longest);
  if (info_result != reg::kSuccess) {
    // This text has two blanks before the parenthesis; it tells the size
    // query apart from the value query below.
    Raise(registry_error::kQueryInfo,
          "RegQueryValueEx failed  (" + std::to_string(info_result) + ")", source);
  }

  // The buffer is as long as the key's longest value; the port hands back
  // the value cut to its returned length, without the terminating zero.
  std::string value;
  const int32_t query_result = backend_.QueryValue(guard.get(), name, longest, &value);
  std::string result;
  if (query_result == reg::kFileNotFound) {
    if (!default_value.has_value()) {
      Raise(registry_error::kNoDefault,
            "Key not found and no default specified (" + std::to_string(reg::kFileNotFound) + ")",
            source);
    }
    result = *default_value;
  } else if (query_result != reg::kSuccess) {
    Raise(registry_error::kQueryValue, FailureText("RegQueryValueEx", query_result), source);
  } else {
    result = std::move(value);
  }

  const int32_t close_result = guard.Close();
  if (close_result != reg::kSuccess) {
    Raise(registry_error::kCloseKey, FailureText("RegCloseKey", close_result), source);
  }
  return result;
}

bool clsRegistryTools::CanOpenGlobalRegKey() {
  try {
    std::string path = "Software\\";
    path += company_;
    path += "\\";
    path += product_;
    path += "\\";
    path += kProbeKey;
    RegistryBackend::Handle key = 0;
    if (backend_.CreateKey(RegistryRoot::kLocalMachine, path, reg::kKeyWrite, &key) !=
        reg::kSuccess) {
      return false;
    }
    // Whatever the close and the delete answer: the key could be created.
    backend_.CloseKey(key);
    backend_.DeleteKey(RegistryRoot::kLocalMachine, path);
    return true;
  } catch (...) {
    return false;
  }
}

std::string clsRegistryTools::ReadClassValue(const std::string& path, std::string_view name) {
  RegistryBackend::Handle key = 0;
  const int32_t open_result =
      backend_.OpenKey(RegistryRoot::kClassesRoot, path, reg::kKeyRead, &key);
  if (open_result != reg::kSuccess) {
    // The key is only opened, but the failure is told with the text of the
    // creating call, like everywhere else in this class.
    Raise(registry_error::kCreateKey, FailureText("RegCreateKeyEx", open_result),
          "GetValueOfAClass");
  }
  return ReadValue(key, name, std::nullopt, "GetValueOfAClass");
}

std::string clsRegistryTools::GetValueOfAClass(std::string_view class_name,
                                               std::string_view value_name) {
  std::string class_key(class_name);
  class_key += "\\Clsid";
  const std::string class_id = ReadClassValue(class_key, "");
  return ReadClassValue("CLSID\\" + class_id, value_name);
}

}  // namespace kdzv
