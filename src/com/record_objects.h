// The automation objects of the records: kdZVTermin, kdZVCalendar,
// kdZVBelegungsZeit and kdZVBelegung. Each property reads and writes the
// core record's field of the same name.
#ifndef KDZV_COM_RECORD_OBJECTS_H_
#define KDZV_COM_RECORD_OBJECTS_H_

#include "com/automation_values.h"
#include "com/core_wrapper.h"
#include "com/kdZentavo_h.h"
#include "interface/records.h"

// One property of a record field, getter and setter, of each automation
// type. The core's records hold values and validate nothing.
#define KDZV_TEXT_PROPERTY(Name)                                                      \
  HRESULT STDMETHODCALLTYPE get_##Name(BSTR* value) override {                        \
    return PutText(core_->Name, value);                                               \
  }                                                                                   \
  HRESULT STDMETHODCALLTYPE put_##Name(BSTR value) override {                         \
    return Guarded(kModule, #Name, [&] {                                              \
      core_->Name = TextOf(value);                                                    \
      return S_OK;                                                                    \
    });                                                                               \
  }
#define KDZV_PLAIN_PROPERTY(Name, AutomationType, ToAutomation, ToCore)               \
  HRESULT STDMETHODCALLTYPE get_##Name(AutomationType* value) override {              \
    if (value == nullptr) return E_POINTER;                                           \
    *value = ToAutomation(core_->Name);                                               \
    return S_OK;                                                                      \
  }                                                                                   \
  HRESULT STDMETHODCALLTYPE put_##Name(AutomationType value) override {               \
    core_->Name = ToCore(value);                                                      \
    return S_OK;                                                                      \
  }
#define KDZV_BOOL_PROPERTY(Name) KDZV_PLAIN_PROPERTY(Name, VARIANT_BOOL, BoolOf, BoolOf)
#define KDZV_DATE_PROPERTY(Name) KDZV_PLAIN_PROPERTY(Name, DATE, DateOf, DateOf)
#define KDZV_LONG_PROPERTY(Name) \
  KDZV_PLAIN_PROPERTY(Name, long, static_cast<long>, static_cast<int32_t>)
#define KDZV_ENUM_PROPERTY(Name, Enum) \
  KDZV_PLAIN_PROPERTY(Name, ::Enum, static_cast<::Enum>, static_cast<kdzv::Enum>)

namespace kdzv::com {

class TerminObject : public CoreWrapper<TerminObject, _kdZVTermin, kdZVTermin> {
 public:
  static constexpr const char* kModule = "kdZVTermin";
  explicit TerminObject(std::shared_ptr<kdZVTermin> core) : CoreWrapper(std::move(core)) {}

  KDZV_TEXT_PROPERTY(PatientTitle)
  KDZV_TEXT_PROPERTY(PatientVorname)
  KDZV_TEXT_PROPERTY(PatientName)
  KDZV_DATE_PROPERTY(PatientGebDat)
  KDZV_TEXT_PROPERTY(PatientAddress)
  KDZV_TEXT_PROPERTY(PatientPLZ)
  KDZV_TEXT_PROPERTY(PatientOrt)
  KDZV_TEXT_PROPERTY(PatientTelefon)
  KDZV_TEXT_PROPERTY(PatientEmail)
  KDZV_TEXT_PROPERTY(PatientVersicherung)
  KDZV_BOOL_PROPERTY(PatientNeu)
  KDZV_TEXT_PROPERTY(KalenderName)
  KDZV_TEXT_PROPERTY(KalenderSourceID)
  KDZV_TEXT_PROPERTY(TerminIDZV)
  KDZV_TEXT_PROPERTY(TerminIDHX)
  KDZV_DATE_PROPERTY(TerminStart)
  KDZV_DATE_PROPERTY(TerminEnde)
  KDZV_TEXT_PROPERTY(TerminKommentar)
  KDZV_ENUM_PROPERTY(TerminCommand, enmZVTerminCommand)
  KDZV_TEXT_PROPERTY(TerminMethode)
  KDZV_TEXT_PROPERTY(TerminMethodeSourceID)
  KDZV_ENUM_PROPERTY(TerminStatus, enmZVTerminStatus)
  KDZV_BOOL_PROPERTY(TerminBlock)
  KDZV_BOOL_PROPERTY(IgnoreIt)
};

class CalendarObject : public CoreWrapper<CalendarObject, _kdZVCalendar, kdZVCalendar> {
 public:
  static constexpr const char* kModule = "kdZVCalendar";
  explicit CalendarObject(std::shared_ptr<kdZVCalendar> core) : CoreWrapper(std::move(core)) {}

  KDZV_TEXT_PROPERTY(Source)
  KDZV_TEXT_PROPERTY(Target)
  KDZV_TEXT_PROPERTY(Title)
  KDZV_ENUM_PROPERTY(CalendarCommand, enmZVCalendarCommand)
  KDZV_BOOL_PROPERTY(IgnoreIt)
  KDZV_LONG_PROPERTY(BehandlerIDHX)
  KDZV_LONG_PROPERTY(BehandlerIDZV)
  KDZV_TEXT_PROPERTY(AttributeIDHX)
  KDZV_TEXT_PROPERTY(AttributeIDZV)
};

class BelegungsZeitObject
    : public CoreWrapper<BelegungsZeitObject, _kdZVBelegungsZeit, kdZVBelegungsZeit> {
 public:
  static constexpr const char* kModule = "kdZVBelegungsZeit";
  explicit BelegungsZeitObject(std::shared_ptr<kdZVBelegungsZeit> core)
      : CoreWrapper(std::move(core)) {}

  KDZV_LONG_PROPERTY(Dauer)
  KDZV_DATE_PROPERTY(StartZeit)
};

class BelegungObject : public CoreWrapper<BelegungObject, _kdZVBelegung, kdZVBelegung> {
 public:
  static constexpr const char* kModule = "kdZVBelegung";
  explicit BelegungObject(std::shared_ptr<kdZVBelegung> core) : CoreWrapper(std::move(core)) {}

  KDZV_LONG_PROPERTY(MethodeID)
  KDZV_TEXT_PROPERTY(MethodeIDext)
  KDZV_LONG_PROPERTY(BehandlerID)
  KDZV_TEXT_PROPERTY(BehandlerIDext)
  KDZV_DATE_PROPERTY(Datum)

  // The slots of the day: the same automation object while the host holds
  // it; Nothing when the host set Nothing.
  HRESULT STDMETHODCALLTYPE get_Zeiten(_kdZVBelegungsZeiten** value) override;
  // Only a collection of this library (or Nothing) can be set.
  HRESULT STDMETHODCALLTYPE putref_Zeiten(_kdZVBelegungsZeiten* value) override;
};

}  // namespace kdzv::com

#endif  // KDZV_COM_RECORD_OBJECTS_H_
