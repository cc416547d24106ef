#include "cli/exec_host.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

namespace kdzv {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr size_t kQuotedAnswerLimit = 200;

// An answer as quoted in a report: cut after a while.
std::string Quote(const std::string& line) {
  if (line.size() <= kQuotedAnswerLimit) return line;
  return line.substr(0, kQuotedAnswerLimit) + "...";
}

std::string Dump(const Json& message) {
  // Text that is not UTF-8 goes out with replacement characters rather
  // than failing the event.
  return message.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

ExecHost::ExecHost(std::ostream& out, std::unique_ptr<HostChannel> channel,
                   ErrorSink report_error, int32_t timeout_seconds)
    : CountingHost(out),
      channel_(std::move(channel)),
      report_error_(std::move(report_error)),
      timeout_seconds_(timeout_seconds) {}

ExecHost::~ExecHost() { Finish(); }

void ExecHost::Finish() {
  if (channel_) {
    channel_->CloseAndWait(kExitGraceMs);
    channel_.reset();
  }
  ended_ = true;
}

void ExecHost::OnTermin(std::shared_ptr<kdZVTermin>& mZVTermin, int32_t& retVal) {
  Count(TerminEventName(*mZVTermin));
  AskAboutRecord("OnTermin", *mZVTermin, retVal);
}

void ExecHost::OnCalendar(std::shared_ptr<kdZVCalendar>& mZVCalendar, int32_t& retVal) {
  Count("OnCalendar");
  AskAboutRecord("OnCalendar", *mZVCalendar, retVal);
}

void ExecHost::OnAttribute(std::shared_ptr<kdZVCalendar>& mZVCalendar, int32_t& retVal) {
  Count("OnAttribute");
  AskAboutRecord("OnAttribute", *mZVCalendar, retVal);
}

void ExecHost::OnSyncLog(std::string& strInfo) {
  CountingHost::OnSyncLog(strInfo);
  const std::string event = "OnSyncLog";
  try {
    Json message = Json::object();
    message["event"] = event;
    message["text"] = strInfo;
    Send(event, message, false);
  } catch (const std::exception& failure) {
    Report(event, std::string("unexpected failure: ") + failure.what());
  }
}

void ExecHost::OnQueryOpeningTime(std::shared_ptr<kdZVBelegungen>& retZVBelegungen,
                                  int32_t& retVal) {
  Count("OnQueryOpeningTime");
  if (!retZVBelegungen) retZVBelegungen = std::make_shared<kdZVBelegungen>();
  kdZVBelegungen& belegungen = *retZVBelegungen;
  AskAndApply("OnQueryOpeningTime", Json{{"event", "OnQueryOpeningTime"}}, "belegungen", retVal,
              [&belegungen](const Json& answer, std::string& error) {
                return ReadBelegungen(answer, belegungen, error);
              });
}

template <class Record>
void ExecHost::AskAboutRecord(const std::string& event, Record& record, int32_t& retVal) {
  Json message = Json::object();
  message["event"] = event;
  message["record"] = RecordToJson(record);
  AskAndApply(event, message, "record", retVal,
              [&record](const Json& changes, std::string& error) {
                return ApplyJsonToRecord(changes, record, error);
              });
}

template <class Apply>
void ExecHost::AskAndApply(const std::string& event, const Json& message, const char* payload,
                           int32_t& retVal, Apply&& apply) {
  try {
    const std::optional<Json> answer = Ask(event, message);
    if (!answer) return;
    int32_t answered = 0;
    std::string error;
    bool readable = ReadRetVal(*answer, payload, answered, error);
    const auto found = answer->find(payload);
    if (readable && found != answer->end()) readable = apply(*found, error);
    if (!readable) {
      Report(event, "unreadable answer: " + error);
      return;
    }
    retVal = answered;
  } catch (const std::exception& failure) {
    Report(event, std::string("unexpected failure: ") + failure.what());
  }
}

bool ExecHost::Send(const std::string& event, const Json& message, bool answer_expected) {
  if (ended_) {
    // A log line needs no answer: once the host is known to have ended,
    // it is dropped without a word, or every window line would report.
    if (answer_expected) Report(event, "the host has ended");
    return false;
  }
  switch (channel_->WriteLine(Dump(message), TimeoutMs())) {
    case HostChannel::Status::kOk:
      return true;
    case HostChannel::Status::kClosed:
      ended_ = true;
      Report(event, "the host has ended");
      return false;
    case HostChannel::Status::kTimeout:
    case HostChannel::Status::kTooLong:
      // A host that takes no input would stall every later event and log
      // line for the whole time-out: it counts as ended from now on.
      ended_ = true;
      Report(event, "the host takes no input within " + std::to_string(timeout_seconds_) +
                        " s; it counts as ended");
      return false;
  }
  return false;
}

std::optional<Json> ExecHost::Ask(const std::string& event, const Json& message) {
  if (!Send(event, message, true)) return std::nullopt;
  const auto deadline = SteadyClock::now() + std::chrono::milliseconds(TimeoutMs());
  std::string line;
  while (true) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - SteadyClock::now());
    switch (channel_->ReadLine(std::max<int64_t>(left.count(), 0), line)) {
      case HostChannel::Status::kOk:
        break;
      case HostChannel::Status::kClosed:
        ended_ = true;
        Report(event, "the host has ended");
        return std::nullopt;
      case HostChannel::Status::kTimeout:
        ++owed_answers_;
        Report(event, "no answer within " + std::to_string(timeout_seconds_) + " s");
        return std::nullopt;
      case HostChannel::Status::kTooLong:
        ended_ = true;
        Report(event, "an answer longer than " + std::to_string(HostChannel::kMaxLineBytes) +
                          " bytes; the host counts as ended");
        return std::nullopt;
    }
    if (owed_answers_ > 0) {
      // The late answer of an earlier event.
      --owed_answers_;
      continue;
    }
    // Checked before any parse: deep nesting or an object of very many
    // members would cost the parser (and any copy of the value) more than
    // the line's length.
    const std::string shape_error = CheckJsonShape(line);
    if (!shape_error.empty()) {
      Report(event, "unreadable answer: " + shape_error);
      return std::nullopt;
    }
    Json answer = Json::parse(line, nullptr, false);
    if (answer.is_discarded()) {
      Report(event, "unreadable answer: not JSON: " + Quote(line));
      return std::nullopt;
    }
    if (!answer.is_object()) {
      Report(event, "unreadable answer: not a JSON object: " + Quote(line));
      return std::nullopt;
    }
    return answer;
  }
}

bool ExecHost::ReadRetVal(const Json& answer, const char* payload, int32_t& retVal,
                          std::string& error) {
  for (const auto& member : answer.items()) {
    if (member.key() != "retVal" && member.key() != payload) {
      error = "unknown member \"" + member.key() + "\"";
      return false;
    }
  }
  const auto found = answer.find("retVal");
  if (found == answer.end()) {
    error = "\"retVal\" is missing";
    return false;
  }
  if (found->is_boolean()) {
    retVal = found->get<bool>() ? -1 : 0;
  } else if (found->is_number()) {
    retVal = found->get<double>() != 0.0 ? -1 : 0;
  } else {
    error = "\"retVal\" must be true, false or a number";
    return false;
  }
  return true;
}

void ExecHost::Report(const std::string& event, const std::string& problem) {
  if (report_error_) report_error_(event + ": " + problem);
}

}  // namespace kdzv
