// The connection point of the interface object's events
// (__kdZVInterface): the sinks the host has advised, in the order of
// their connection. It lives inside the interface object and shares its
// reference count, so that the two never keep each other alive.
#ifndef KDZV_COM_EVENT_POINT_H_
#define KDZV_COM_EVENT_POINT_H_

#include <ocidl.h>
#include <windows.h>

#include <utility>
#include <vector>

#include "platform/win32/com_ptr.h"

namespace kdzv::com {

class EventPoint final : public IConnectionPoint {
 public:
  EventPoint(IConnectionPointContainer& container, REFIID events);
  ~EventPoint();
  EventPoint(const EventPoint&) = delete;
  EventPoint& operator=(const EventPoint&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;

  HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID* iid) override;
  HRESULT STDMETHODCALLTYPE GetConnectionPointContainer(IConnectionPointContainer** out) override;
  HRESULT STDMETHODCALLTYPE Advise(IUnknown* sink, DWORD* cookie) override;
  HRESULT STDMETHODCALLTYPE Unadvise(DWORD cookie) override;
  // The connections at this moment, each sink with its cookie.
  HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections** out) override;

  using Sinks = std::vector<win32::ComPtr<IDispatch>>;
  // The sinks at this moment, each held by the answer: a sink may
  // disconnect itself, or connect another, while it handles an event.
  // Raises std::bad_alloc when the list cannot be made.
  Sinks SinksNow() const;
  // Drops every sink (the interface object is going away).
  void DisconnectAll();

 private:
  IConnectionPointContainer& container_;
  IID events_;
  DWORD next_cookie_ = 1;
  std::vector<std::pair<DWORD, win32::ComPtr<IDispatch>>> sinks_;
};

}  // namespace kdzv::com

#endif  // KDZV_COM_EVENT_POINT_H_
