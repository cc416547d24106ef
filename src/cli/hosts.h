// The hosts that zvsync plays: one that accepts every event and one that
// refuses every event. Both print every line of the sync window.
#ifndef KDZV_CLI_HOSTS_H_
#define KDZV_CLI_HOSTS_H_

#include <cstdint>
#include <map>
#include <ostream>
#include <string>

#include "interface/host_events.h"

namespace kdzv {

// Counts the events of one exchange by kind, for the summary.
class CountingHost : public HostEvents {
 public:
  explicit CountingHost(std::ostream& out) : out_(out) {}
  void OnSyncLog(std::string& strInfo) override;
  void EinstellungenAmServiceValidieren(std::string&, std::string&, std::string&,
                                        std::string&) override {}
  void ZentavoSyncTesten(std::shared_ptr<clZVSettings>&) override {}

  // Event name ("OnTermin Add", "OnCalendar", ...) -> how often it came.
  const std::map<std::string, int>& Counts() const { return counts_; }

 protected:
  void Count(const std::string& kind) { ++counts_[kind]; }

 private:
  std::ostream& out_;
  std::map<std::string, int> counts_;
};

// Accepts everything. A new appointment, calendar or attribute value gets
// the next host id (1, 2, 3 ... per kind); opening times are answered with
// none.
class AcceptingHost : public CountingHost {
 public:
  using CountingHost::CountingHost;
  void OnTermin(std::shared_ptr<kdZVTermin>& mZVTermin, int32_t& retVal) override;
  void OnCalendar(std::shared_ptr<kdZVCalendar>& mZVCalendar, int32_t& retVal) override;
  void OnAttribute(std::shared_ptr<kdZVCalendar>& mZVCalendar, int32_t& retVal) override;
  void OnQueryOpeningTime(std::shared_ptr<kdZVBelegungen>& retZVBelegungen,
                          int32_t& retVal) override;

 private:
  int32_t next_termin_ = 1;
  int32_t next_behandler_ = 1;
  int32_t next_attribute_ = 1;
};

// Refuses everything (leaves every retVal at 0).
class RefusingHost : public CountingHost {
 public:
  using CountingHost::CountingHost;
  void OnTermin(std::shared_ptr<kdZVTermin>& mZVTermin, int32_t& retVal) override;
  void OnCalendar(std::shared_ptr<kdZVCalendar>& mZVCalendar, int32_t& retVal) override;
  void OnAttribute(std::shared_ptr<kdZVCalendar>& mZVCalendar, int32_t& retVal) override;
  void OnQueryOpeningTime(std::shared_ptr<kdZVBelegungen>& retZVBelegungen,
                          int32_t& retVal) override;
};

// The event's name for the counts: "OnTermin Add", "OnTermin Replace",
// "OnTermin Delete".
std::string TerminEventName(const kdZVTermin& termin);

}  // namespace kdzv

#endif  // KDZV_CLI_HOSTS_H_
