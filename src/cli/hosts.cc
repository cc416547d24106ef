#include "cli/hosts.h"

namespace kdzv {

std::string TerminEventName(const kdZVTermin& termin) {
  switch (termin.TerminCommand) {
    case Termin_Add: return "OnTermin Add";
    case Termin_Delete: return "OnTermin Delete";
    case Termin_Replace: return "OnTermin Replace";
  }
  return "OnTermin";
}

void CountingHost::OnSyncLog(std::string& strInfo) {
  ++counts_["OnSyncLog"];
  out_ << strInfo << "\n" << std::flush;
}

void AcceptingHost::OnTermin(std::shared_ptr<kdZVTermin>& mZVTermin, int32_t& retVal) {
  Count(TerminEventName(*mZVTermin));
  if (mZVTermin->TerminCommand == Termin_Add && mZVTermin->TerminIDHX.empty()) {
    mZVTermin->TerminIDHX = std::to_string(next_termin_++);
  }
  retVal = -1;
}

void AcceptingHost::OnCalendar(std::shared_ptr<kdZVCalendar>& mZVCalendar, int32_t& retVal) {
  Count("OnCalendar");
  mZVCalendar->BehandlerIDHX = next_behandler_++;
  retVal = -1;
}

void AcceptingHost::OnAttribute(std::shared_ptr<kdZVCalendar>& mZVCalendar, int32_t& retVal) {
  Count("OnAttribute");
  mZVCalendar->AttributeIDHX = std::to_string(next_attribute_++);
  retVal = -1;
}

void AcceptingHost::OnQueryOpeningTime(std::shared_ptr<kdZVBelegungen>&, int32_t& retVal) {
  Count("OnQueryOpeningTime");
  retVal = -1;
}

void RefusingHost::OnTermin(std::shared_ptr<kdZVTermin>& mZVTermin, int32_t&) {
  Count(TerminEventName(*mZVTermin));
}

void RefusingHost::OnCalendar(std::shared_ptr<kdZVCalendar>&, int32_t&) { Count("OnCalendar"); }

void RefusingHost::OnAttribute(std::shared_ptr<kdZVCalendar>&, int32_t&) { Count("OnAttribute"); }

void RefusingHost::OnQueryOpeningTime(std::shared_ptr<kdZVBelegungen>&, int32_t&) {
  Count("OnQueryOpeningTime");
}

}  // namespace kdzv
