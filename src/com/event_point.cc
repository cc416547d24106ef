#include "com/event_point.h"

#include <olectl.h>

#include <new>

#include "com/snapshot_enumerator.h"

namespace kdzv::com {
namespace {

// One connection as IEnumConnections hands it out: the cookie and a
// reference of its own on the sink.
using Connection = std::pair<DWORD, win32::ComPtr<IUnknown>>;
void GiveConnection(const Connection& connection, CONNECTDATA& item) {
  item.dwCookie = connection.first;
  connection.second.CopyTo(&item.pUnk);
}
using ConnectionEnumerator =
    SnapshotEnumerator<IEnumConnections, CONNECTDATA, Connection, GiveConnection>;

}  // namespace

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

// The point shares the reference count of the object that contains it.
ULONG EventPoint::AddRef() { return container_.AddRef(); }
ULONG EventPoint::Release() { return container_.Release(); }

HRESULT EventPoint::GetConnectionInterface(IID* iid) {
  if (iid == nullptr) return E_POINTER;
  *iid = events_;
  return S_OK;
}

HRESULT EventPoint::GetConnectionPointContainer(IConnectionPointContainer** out) {
  if (out == nullptr) return E_POINTER;
  win32::ComPtr<IConnectionPointContainer>::Retain(&container_).CopyTo(out);
  return S_OK;
}

HRESULT EventPoint::Advise(IUnknown* sink, DWORD* cookie) {
  if (cookie == nullptr) return E_POINTER;
  *cookie = 0;
  if (sink == nullptr) return E_POINTER;
  win32::ComPtr<IDispatch> dispatch;
  if (FAILED(sink->QueryInterface(events_, dispatch.PutVoid())) || !dispatch) {
    if (FAILED(sink->QueryInterface(IID_IDispatch, dispatch.PutVoid())) || !dispatch) {
      return CONNECT_E_CANNOTCONNECT;
    }
  }
  try {
    sinks_.emplace_back(next_cookie_, std::move(dispatch));
  } catch (...) {
    return E_OUTOFMEMORY;
  }
  *cookie = next_cookie_++;
  return S_OK;
}

HRESULT EventPoint::Unadvise(DWORD cookie) {
  for (auto it = sinks_.begin(); it != sinks_.end(); ++it) {
    if (it->first == cookie) {
      // Released after it has left the list: its release may call back in.
      win32::ComPtr<IDispatch> sink = std::move(it->second);
      sinks_.erase(it);
      return S_OK;
    }
  }
  return CONNECT_E_NOCONNECTION;
}

HRESULT EventPoint::EnumConnections(IEnumConnections** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  ConnectionEnumerator::Elements connections;
  try {
    connections.reserve(sinks_.size());
    for (const auto& [cookie, sink] : sinks_) {
      connections.emplace_back(cookie, sink.Query<IUnknown>(IID_IUnknown));
    }
  } catch (...) {
    return E_OUTOFMEMORY;
  }
  return ConnectionEnumerator::Make(std::move(connections), out);
}

EventPoint::Sinks EventPoint::SinksNow() const {
  Sinks sinks;
  sinks.reserve(sinks_.size());
  for (const auto& connection : sinks_) sinks.push_back(connection.second);
  return sinks;
}

void EventPoint::DisconnectAll() {
  // Released after the list is empty: a sink's release may call back in.
  std::vector<std::pair<DWORD, win32::ComPtr<IDispatch>>> sinks;
  sinks.swap(sinks_);
}

}  // namespace kdzv::com
