// The automation object of kdZVInterface: the one object the host creates.
// It wraps the core's interface object, answers the host's calls, and
// raises the core's events to every connected sink through the connection
// point of __kdZVInterface.
#ifndef KDZV_COM_INTERFACE_OBJECT_H_
#define KDZV_COM_INTERFACE_OBJECT_H_

#include <ocidl.h>

#include <memory>
#include <string>

#include "com/automation_object.h"
#include "com/event_point.h"
#include "com/kdZentavo_h.h"
#include "exchange/kd_zv_interface.h"
#include "interface/host_events.h"

namespace kdzv::com {

class InterfaceObject : public AutomationObject<_kdZVInterface>,
                        public IConnectionPointContainer,
                        public IProvideClassInfo2,
                        public HostEvents {
 public:
  // Null (with `hr`) when the core or the window of this system cannot be
  // had.
  static InterfaceObject* Create(HRESULT& hr);
  ~InterfaceObject() override;

  // IUnknown, once for all bases.
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override {
    return AutomationObject::QueryInterface(riid, out);
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return AutomationObject::AddRef(); }
  ULONG STDMETHODCALLTYPE Release() override { return AutomationObject::Release(); }

  // _kdZVInterface
  HRESULT STDMETHODCALLTYPE CheckLogAccess(BSTR strLog, BSTR* sErr, VARIANT_BOOL* ok) override;
  HRESULT STDMETHODCALLTYPE ShowSettings(VARIANT mOwner, VARIANT bServiceSeitigerSync) override;
  HRESULT STDMETHODCALLTYPE ShowSettingsStatusMsg(BSTR sMsg, LONG nStyle) override;
  HRESULT STDMETHODCALLTYPE get_Settings(_clZVSettings** settings) override;
  HRESULT STDMETHODCALLTYPE putref_Settings(_clZVSettings* settings) override;
  HRESULT STDMETHODCALLTYPE StartSync(VARIANT mOwner, VARIANT* sErr,
                                      ::enmZVRetValues* result) override;
  HRESULT STDMETHODCALLTYPE CreateKdZVTermin(_kdZVTermin** termin) override;
  HRESULT STDMETHODCALLTYPE TestDownFile(BSTR strFile) override;
  HRESULT STDMETHODCALLTYPE ConvertLocalToZentavoDateTime(DATE dLocalDate, BSTR* text) override;
  HRESULT STDMETHODCALLTYPE ConvertZentavoToLocalDateTime(BSTR strDTString, BSTR* text) override;
  HRESULT STDMETHODCALLTYPE TestFireOpeningTimes(VARIANT* result) override;

  // IConnectionPointContainer
  HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints** out) override;
  HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID riid, IConnectionPoint** out) override;

  // IProvideClassInfo2
  HRESULT STDMETHODCALLTYPE GetClassInfo(ITypeInfo** info) override;
  HRESULT STDMETHODCALLTYPE GetGUID(DWORD kind, GUID* guid) override;

  // HostEvents: the core's events, raised to every sink in turn; each sink
  // sees what the ones before it answered.
  void OnTermin(std::shared_ptr<kdZVTermin>& mZVTermin, int32_t& retVal) override;
  void OnSyncLog(std::string& strInfo) override;
  void OnCalendar(std::shared_ptr<kdZVCalendar>& mZVCalendar, int32_t& retVal) override;
  void OnAttribute(std::shared_ptr<kdZVCalendar>& mZVCalendar, int32_t& retVal) override;
  void OnQueryOpeningTime(std::shared_ptr<kdZVBelegungen>& retZVBelegungen,
                          int32_t& retVal) override;
  void EinstellungenAmServiceValidieren(std::string& s01UploadDir, std::string& s02DownloadDir,
                                        std::string& s03AblageDir,
                                        std::string& sErrMsg) override;
  void ZentavoSyncTesten(std::shared_ptr<clZVSettings>& sSettings) override;

 protected:
  void* QueryOwn(REFIID riid) override;

 private:
  InterfaceObject();

  // Raises event `id` with `count` arguments to every sink; `after_sink`
  // runs after each one (to take over what it answered).
  template <class AfterSink>
  void Raise(DISPID id, const char* name, VARIANTARG* args, UINT count, AfterSink&& after_sink);
  template <class Wrapper>
  void RaiseRecordEvent(DISPID id, const char* name,
                        std::shared_ptr<typename Wrapper::CoreType>& record, int32_t* retVal);
  void RaiseTextEvent(DISPID id, const char* name, std::string* const* texts, UINT count);

  EventPoint events_;
  std::unique_ptr<kdZVInterface> core_;
};

}  // namespace kdzv::com

#endif  // KDZV_COM_INTERFACE_OBJECT_H_
