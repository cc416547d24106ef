// The automation object of clZVSettings: each property reads the value the
// settings object holds and each setter writes it through to the store.
#ifndef KDZV_COM_SETTINGS_OBJECT_H_
#define KDZV_COM_SETTINGS_OBJECT_H_

#include "com/automation_values.h"
#include "com/core_wrapper.h"
#include "com/kdZentavo_h.h"
#include "settings/zv_settings.h"

#define KDZV_SETTING_TEXT(Name)                                                    \
  HRESULT STDMETHODCALLTYPE get_##Name(BSTR* value) override {                     \
    return PutText(core_->Name(), value);                                          \
  }                                                                                \
  HRESULT STDMETHODCALLTYPE put_##Name(BSTR value) override {                      \
    return Guarded(kModule, #Name, [&] {                                           \
      core_->Set##Name(TextOf(value));                                             \
      return S_OK;                                                                 \
    });                                                                            \
  }
#define KDZV_SETTING_PLAIN(Name, AutomationType, ToAutomation, ToCore)             \
  HRESULT STDMETHODCALLTYPE get_##Name(AutomationType* value) override {           \
    if (value == nullptr) return E_POINTER;                                        \
    *value = ToAutomation(core_->Name());                                          \
    return S_OK;                                                                   \
  }                                                                                \
  HRESULT STDMETHODCALLTYPE put_##Name(AutomationType value) override {            \
    return Guarded(kModule, #Name, [&] {                                           \
      core_->Set##Name(ToCore(value));                                             \
      return S_OK;                                                                 \
    });                                                                            \
  }

namespace kdzv::com {

class SettingsObject : public CoreWrapper<SettingsObject, _clZVSettings, clZVSettings> {
 public:
  static constexpr const char* kModule = "clZVSettings";
  explicit SettingsObject(std::shared_ptr<clZVSettings> core) : CoreWrapper(std::move(core)) {}

  KDZV_SETTING_TEXT(DownloadPath)
  KDZV_SETTING_TEXT(UploadPath)
  KDZV_SETTING_PLAIN(DoLog, VARIANT_BOOL, BoolOf, BoolOf)
  KDZV_SETTING_TEXT(FilePraefix)
  KDZV_SETTING_TEXT(AblagePath)
  KDZV_SETTING_PLAIN(SlowSync, VARIANT_BOOL, BoolOf, BoolOf)
  KDZV_SETTING_TEXT(SystemName)
  KDZV_SETTING_PLAIN(TimeoutSeconds, short, static_cast<short>, static_cast<int16_t>)
  KDZV_SETTING_PLAIN(PatIdentKriterium, short, static_cast<short>, static_cast<int16_t>)
};

}  // namespace kdzv::com

#endif  // KDZV_COM_SETTINGS_OBJECT_H_
