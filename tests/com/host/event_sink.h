// An event sink as a late-binding host makes one: an IDispatch that answers
// to the event interface the object names through IProvideClassInfo2, and
// hands every event (its dispatch id and by-reference arguments) to a
// handler of the test.
#ifndef KDZV_TESTS_COM_HOST_EVENT_SINK_H_
#define KDZV_TESTS_COM_HOST_EVENT_SINK_H_

#include <ocidl.h>
#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "automation_client.h"

namespace kdzv::host {

class EventSink final : public IDispatch {
 public:
  // `args` as the object passed them: the last argument first.
  using Handler = std::function<HRESULT(DISPID id, DISPPARAMS& args)>;

  EventSink(const IID& events, Handler handler) : events_(events), handler_(std::move(handler)) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override;
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override;
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override;
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override;
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*,
                                   EXCEPINFO* exception, UINT*) override;

  // The ids of the events received, in order.
  const std::vector<DISPID>& Received() const { return received_; }
  // What the sink raises as its exception when the handler fails.
  std::wstring failure_text = L"Fehler im Ereignis";

 private:
  ULONG references_ = 1;
  IID events_;
  Handler handler_;
  std::vector<DISPID> received_;
};

// Connects `sink` to `object`'s default source interface (found through
// IProvideClassInfo2); the cookie, 0 on failure. `events` receives the
// interface's IID.
DWORD Connect(const Obj& object, IDispatch* sink, IID* events = nullptr);
void Disconnect(const Obj& object, DWORD cookie);
// The default source interface of `object`.
IID EventInterfaceOf(const Obj& object);

}  // namespace kdzv::host

#endif  // KDZV_TESTS_COM_HOST_EVENT_SINK_H_
