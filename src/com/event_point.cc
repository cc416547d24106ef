#include "com/event_point.h"

#include <olectl.h>

namespace kdzv::com {

EventPoint::EventPoint(IConnectionPointContainer& container, REFIID events)
    : container_(container), events_(events) {}

EventPoint::~EventPoint() { DisconnectAll(); }

HRESULT EventPoint::QueryInterface(REFIID riid, void** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  if (riid != IID_IUnknown && riid != IID_IConnectionPoint) return E_NOINTERFACE;
  *out = static_cast<IConnectionPoint*>(this);
  AddRef();
  return S_OK;
}

ULONG EventPoint::AddRef() { return container_.AddRef(); }
ULONG EventPoint::Release() { return container_.Release(); }

HRESULT EventPoint::GetConnectionInterface(IID* iid) {
  if (iid == nullptr) return E_POINTER;
  *iid = events_;
  return S_OK;
}

HRESULT EventPoint::GetConnectionPointContainer(IConnectionPointContainer** out) {
  if (out == nullptr) return E_POINTER;
  container_.AddRef();
  *out = &container_;
  return S_OK;
}

HRESULT EventPoint::Advise(IUnknown* sink, DWORD* cookie) {
  if (cookie == nullptr) return E_POINTER;
  *cookie = 0;
  if (sink == nullptr) return E_POINTER;
  IDispatch* dispatch = nullptr;
  if (FAILED(sink->QueryInterface(events_, reinterpret_cast<void**>(&dispatch))) ||
      dispatch == nullptr) {
    dispatch = nullptr;
    if (FAILED(sink->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&dispatch))) ||
        dispatch == nullptr) {
      return CONNECT_E_CANNOTCONNECT;
    }
  }
  try {
    sinks_.emplace_back(next_cookie_, dispatch);
  } catch (...) {
    dispatch->Release();
    return E_OUTOFMEMORY;
  }
  *cookie = next_cookie_++;
  return S_OK;
}

HRESULT EventPoint::Unadvise(DWORD cookie) {
  for (auto it = sinks_.begin(); it != sinks_.end(); ++it) {
    if (it->first == cookie) {
      IDispatch* sink = it->second;
      sinks_.erase(it);
      sink->Release();
      return S_OK;
    }
  }
  return CONNECT_E_NOCONNECTION;
}

HRESULT EventPoint::EnumConnections(IEnumConnections** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  return E_NOTIMPL;
}

std::vector<IDispatch*> EventPoint::SinksNow() const {
  std::vector<IDispatch*> sinks;
  sinks.reserve(sinks_.size());
  for (const auto& [cookie, sink] : sinks_) {
    sink->AddRef();
    sinks.push_back(sink);
  }
  return sinks;
}

void EventPoint::DisconnectAll() {
  std::vector<std::pair<DWORD, IDispatch*>> sinks;
  sinks.swap(sinks_);
  for (auto& [cookie, sink] : sinks) sink->Release();
}

}  // namespace kdzv::com
