// The events through which the host takes part in an exchange. Every
// argument is by reference: the host may change the record it is given (or
// hand back another one) and answers through `retVal`, which is 0 (false)
// when the event is raised; -1 (or any non-zero value) accepts.
#ifndef KDZV_INTERFACE_HOST_EVENTS_H_
#define KDZV_INTERFACE_HOST_EVENTS_H_

#include <cstdint>
#include <memory>
#include <string>

#include "interface/records.h"

namespace kdzv {

class clZVSettings;

class HostEvents {
 public:
  virtual ~HostEvents() = default;
  virtual void OnTermin(std::shared_ptr<kdZVTermin>& mZVTermin, int32_t& retVal) = 0;
  virtual void OnSyncLog(std::string& strInfo) = 0;
  virtual void OnCalendar(std::shared_ptr<kdZVCalendar>& mZVCalendar, int32_t& retVal) = 0;
  virtual void OnAttribute(std::shared_ptr<kdZVCalendar>& mZVCalendar, int32_t& retVal) = 0;
  virtual void OnQueryOpeningTime(std::shared_ptr<kdZVBelegungen>& retZVBelegungen,
                                  int32_t& retVal) = 0;
  virtual void EinstellungenAmServiceValidieren(std::string& s01UploadDir,
                                                std::string& s02DownloadDir,
                                                std::string& s03AblageDir,
                                                std::string& sErrMsg) = 0;
  virtual void ZentavoSyncTesten(std::shared_ptr<clZVSettings>& sSettings) = 0;
};

// A host that listens to nothing: every event is left as raised (refused).
class NoHostEvents : public HostEvents {
 public:
  void OnTermin(std::shared_ptr<kdZVTermin>&, int32_t&) override {}
  void OnSyncLog(std::string&) override {}
  void OnCalendar(std::shared_ptr<kdZVCalendar>&, int32_t&) override {}
  void OnAttribute(std::shared_ptr<kdZVCalendar>&, int32_t&) override {}
  void OnQueryOpeningTime(std::shared_ptr<kdZVBelegungen>&, int32_t&) override {}
  void EinstellungenAmServiceValidieren(std::string&, std::string&, std::string&,
                                        std::string&) override {}
  void ZentavoSyncTesten(std::shared_ptr<clZVSettings>&) override {}
};

}  // namespace kdzv

#endif  // KDZV_INTERFACE_HOST_EVENTS_H_
