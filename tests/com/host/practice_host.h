// A practice's program as the event sink of an interface object: it
// accepts every command (appointments, calendars and attributes get host
// ids counting from 1) or refuses them all, as the accepting and the
// refusing host of the exchange tests do, and counts what it saw. For the
// host programs that drive whole exchanges (the soak, the large message).
#ifndef KDZV_TESTS_COM_HOST_PRACTICE_HOST_H_
#define KDZV_TESTS_COM_HOST_PRACTICE_HOST_H_

#include <windows.h>

#include <functional>
#include <map>
#include <string>

#include "com/host/automation_client.h"

namespace kdzv::host {

// The host's answers to the events, as the accepting host or the refusing
// host of the exchange tests gives them, and what it saw.
struct PracticeHost {
  bool accepting = true;
  std::map<std::string, int> events;
  long next_termin = 1, next_behandler = 1, next_attribute = 1;

  // Runs at the first OnSyncLog, when StartSync has cleared the folders.
  std::function<void()> on_first_log;

  HRESULT Handle(DISPID id, DISPPARAMS& args) {
    if (id == 2) {  // OnSyncLog(text)
      if (events["OnSyncLog"]++ == 0 && on_first_log) on_first_log();
      return S_OK;
    }
    if (!accepting) {
      ++events[id >= 1 && id <= 5 ? "event " + std::to_string(id) : "other " + std::to_string(id)];
      return S_OK;
    }
    switch (id) {
      case 1: {  // OnTermin(termin, retVal)
        const Obj termin(*V_DISPATCHREF(&args.rgvarg[1]));
        ++events["OnTermin"];
        if (termin.Get(L"TerminCommand").Long() == 0 && termin.Get(L"TerminIDHX").Text().empty()) {
          termin.Put(L"TerminIDHX", std::to_wstring(next_termin++));
        }
        *V_I4REF(&args.rgvarg[0]) = -1;
        return S_OK;
      }
      case 3:  // OnCalendar(calendar, retVal)
        ++events["OnCalendar"];
        Obj(*V_DISPATCHREF(&args.rgvarg[1])).Put(L"BehandlerIDHX", static_cast<int>(next_behandler++));
        *V_I4REF(&args.rgvarg[0]) = -1;
        return S_OK;
      case 4:  // OnAttribute(calendar, retVal)
        ++events["OnAttribute"];
        Obj(*V_DISPATCHREF(&args.rgvarg[1])).Put(L"AttributeIDHX", std::to_wstring(next_attribute++));
        *V_I4REF(&args.rgvarg[0]) = -1;
        return S_OK;
      case 5:  // OnQueryOpeningTime(belegungen, retVal)
        ++events["OnQueryOpeningTime"];
        *V_I4REF(&args.rgvarg[0]) = -1;
        return S_OK;
      default:
        ++events["other " + std::to_string(id)];
        return S_OK;
    }
  }
};

}  // namespace kdzv::host

#endif  // KDZV_TESTS_COM_HOST_PRACTICE_HOST_H_
