// The bridge host of zvsync: every event of the exchange goes as one line
// of JSON to a program that plays the host, and the events that want an
// answer wait for one line of JSON back.
//
//   -> {"event":"OnTermin","record":{...all properties...}}
//   <- {"retVal":true,"record":{...only the properties the host changes...}}
//   -> {"event":"OnQueryOpeningTime"}
//   <- {"retVal":true,"belegungen":[{"MethodeID":1,...,"Zeiten":[{...}]}]}
//   -> {"event":"OnSyncLog","text":"..."}          (no answer)
//
// OnCalendar and OnAttribute go like OnTermin. A host that has ended, that
// answers something unreadable or that does not answer within the time-out
// is reported, and the event counts as refused with its record untouched;
// the exchange goes on. Once the host has ended every later event is
// refused at once.
#ifndef KDZV_CLI_EXEC_HOST_H_
#define KDZV_CLI_EXEC_HOST_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include "platform/host_channel.h"
#include "cli/hosts.h"
#include "cli/json_records.h"

namespace kdzv {

class ExecHost : public CountingHost {
 public:
  // Receives each problem as "EVENT: what went wrong".
  using ErrorSink = std::function<void(const std::string&)>;

  static constexpr int32_t kDefaultTimeoutSeconds = 10;
  // How long the host may take to exit once its input is closed.
  static constexpr int64_t kExitGraceMs = 2000;

  ExecHost(std::ostream& out, std::unique_ptr<HostChannel> channel, ErrorSink report_error,
           int32_t timeout_seconds = kDefaultTimeoutSeconds);
  ~ExecHost() override;
  ExecHost(const ExecHost&) = delete;
  ExecHost& operator=(const ExecHost&) = delete;

  void OnTermin(std::shared_ptr<kdZVTermin>& mZVTermin, int32_t& retVal) override;
  void OnSyncLog(std::string& strInfo) override;
  void OnCalendar(std::shared_ptr<kdZVCalendar>& mZVCalendar, int32_t& retVal) override;
  void OnAttribute(std::shared_ptr<kdZVCalendar>& mZVCalendar, int32_t& retVal) override;
  void OnQueryOpeningTime(std::shared_ptr<kdZVBelegungen>& retZVBelegungen,
                          int32_t& retVal) override;

  // Closes the host's input and waits for it (killing it after the grace
  // time). Events after this are refused.
  void Finish();

  // Whether the host is known to have ended.
  bool Ended() const { return ended_; }

 private:
  // Asks `event` of a record: sends its properties, applies the answer.
  template <class Record>
  void AskAboutRecord(const std::string& event, Record& record, int32_t& retVal);
  // Sends `message` and reads the answer; when it is readable, lets `apply`
  // take its `payload` member (when there is one; `apply` answers false
  // with the error set) and then sets `retVal`. Reports and leaves `retVal`
  // otherwise.
  template <class Apply>
  void AskAndApply(const std::string& event, const Json& message, const char* payload,
                   int32_t& retVal, Apply&& apply);
  // Sends `message` and reads the answer object; nullopt after reporting.
  std::optional<Json> Ask(const std::string& event, const Json& message);
  // Sends `message`; false after reporting. `answer_expected`: the event
  // waits for an answer (which is owed when the line does not go out now).
  bool Send(const std::string& event, const Json& message, bool answer_expected);
  // Reads the retVal of `answer` and checks that it holds no other member
  // than "retVal" and `payload`; false with `error` set otherwise.
  static bool ReadRetVal(const Json& answer, const char* payload, int32_t& retVal,
                         std::string& error);
  void Report(const std::string& event, const std::string& problem);
  int64_t TimeoutMs() const { return int64_t{timeout_seconds_} * 1000; }

  std::unique_ptr<HostChannel> channel_;
  ErrorSink report_error_;
  int32_t timeout_seconds_;
  bool ended_ = false;
  // Answers still due for events that timed out: they are read and dropped
  // before the answer of the next event, so that answers stay in step.
  int owed_answers_ = 0;
};

}  // namespace kdzv

#endif  // KDZV_CLI_EXEC_HOST_H_
