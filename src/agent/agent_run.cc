// Running a scenario: the agent's side of one exchange, step by step.
#include <chrono>
#include <exception>
#include <optional>
#include <thread>

#include "agent/agent.h"
#include "agent/agent_files.h"
#include "agent/agent_xml.h"
#include "agent/message_path.h"
#include "agent/received_message.h"
#include "agent/send_message.h"
#include "platform/locked_file.h"
#include "util/error.h"
#include "util/windows_1252.h"

namespace kdzv::agent {

namespace {

using SteadyClock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

// How often the folders are looked at.
constexpr Milliseconds kPollInterval{50};
// A received file that does not read as a whole message yet is taken as it
// is once it has stayed unchanged this long.
constexpr Milliseconds kSettleTime{300};

bool EndsWithIgnoringCase(std::string_view text, std::string_view suffix) {
  return text.size() >= suffix.size() && SameName(text.substr(text.size() - suffix.size()), suffix);
}

bool StartsWithIgnoringCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && SameName(text.substr(0, prefix.size()), prefix);
}

bool AllDigits(std::string_view text) {
  if (text.empty()) return false;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
  }
  return true;
}

// Exactly one line, ended by CR LF.
bool IsOneCrLfLine(std::string_view bytes) {
  if (bytes.size() < 2 || bytes.substr(bytes.size() - 2) != "\r\n") return false;
  return bytes.substr(0, bytes.size() - 2).find_first_of("\r\n") == std::string_view::npos;
}

std::string Plural(size_t n, std::string_view word) {
  return std::to_string(n) + " " + std::string(word) + (n == 1 ? "" : "s");
}

std::string Duration(int ms) {
  return ms % 1000 == 0 ? std::to_string(ms / 1000) + " s" : std::to_string(ms) + " ms";
}

// A received file, read once it is complete.
struct Incoming {
  std::string name;
  std::string bytes;
};

class Run {
 public:
  Run(const Scenario& scenario, const AgentOptions& options, std::ostream& out)
      : scenario_(scenario), options_(options), out_(out) {}

  int Go(AgentReport* report) {
    try {
      Steps();
    } catch (const std::exception& e) {
      Say(std::string("FAIL internal error: ") + e.what());
      ++report_.failures;
    }
    report_.passed = report_.failures == 0;
    if (report_.passed) {
      Say("scenario " + scenario_.name + " passed");
    } else {
      Say("scenario " + scenario_.name + " failed (" + std::to_string(report_.failures) + " of " +
          std::to_string(report_.checks) + " checks failed)");
    }
    if (report != nullptr) *report = report_;
    return report_.passed ? kRunPassed : kRunFailed;
  }

 private:
  void Say(const std::string& text) { out_ << ("agent: " + text + "\n") << std::flush; }

  // One check, counted and written as "ok" or "FAIL" under its message.
  void Check(bool ok, const std::string& text) {
    ++report_.checks;
    if (!ok) ++report_.failures;
    Say(std::string(ok ? "  ok   " : "  FAIL ") + text);
  }

  // A failure that ends the run (a time-out, a missing folder).
  void Broken(const std::string& text) {
    ++report_.checks;
    ++report_.failures;
    Say("FAIL " + text);
  }

  bool StopRequested() {
    if (options_.stop == nullptr || !options_.stop->load()) return false;
    ++report_.checks;
    ++report_.failures;
    Say("stopped");
    return true;
  }

  void Steps() {
    if (!FolderExists(options_.upload)) {
      return Broken("the upload folder does not exist: " + options_.upload);
    }
    if (!FolderExists(options_.download)) {
      return Broken("the download folder does not exist: " + options_.download);
    }
    for (const Step& step : scenario_.steps) {
      if (StopRequested()) return;
      bool go_on = true;
      switch (step.kind) {
        case StepKind::kReceive: go_on = Receive(step); break;
        case StepKind::kSend:
        case StepKind::kSendFile:
        case StepKind::kSendRaw: Send(step); break;
        case StepKind::kExpectTaken: go_on = ExpectTaken(step); break;
        case StepKind::kExpectNoMessage: go_on = ExpectNoMessage(step); break;
      }
      if (!go_on) return;
    }
  }

  // The name of the component's next message in the upload folder, or "".
  std::string FindNext() const {
    for (const std::string& name : ListFileNames(options_.upload)) {
      if (values_.stem.empty()) {
        if (name.size() > 6 && EndsWithIgnoringCase(name, "_1.xml")) return name;
      } else if (SameName(name, ExpectedName())) {
        return name;
      }
    }
    return {};
  }

  std::string ExpectedName() const {
    return values_.stem + std::to_string(last_number_ + 1) + ".xml";
  }

  // Waits for the next message and reads it once complete; nothing when
  // the wait ended (time-out or stop, already told).
  std::optional<Incoming> Await(const Step& step) {
    const SteadyClock::time_point deadline = SteadyClock::now() + Milliseconds(step.wait_ms);
    Incoming incoming;
    while ((incoming.name = FindNext()).empty()) {
      if (StopRequested()) return std::nullopt;
      if (SteadyClock::now() >= deadline) {
        const std::string wanted = values_.stem.empty() ? "*_1.xml" : ExpectedName();
        Broken("receive (line " + std::to_string(step.line) + "): no " + wanted +
               " in the upload folder within " + Duration(step.wait_ms));
        return std::nullopt;
      }
      std::this_thread::sleep_for(kPollInterval);
    }
    // The component writes in place: read until the file holds a whole
    // message, or has stopped changing.
    const std::string path = JoinPath(options_.upload, incoming.name);
    std::optional<std::string> previous;
    SteadyClock::time_point changed_at = SteadyClock::now();
    while (true) {
      const std::optional<std::string> bytes = ReadWholeFile(path);
      if (bytes) {
        if (bytes != previous) {
          previous = bytes;
          changed_at = SteadyClock::now();
        }
        XmlProblem problem;
        if (IsOneCrLfLine(*bytes) && ParseAgentXml(Windows1252ToUtf8(*bytes), problem)) break;
        if (SteadyClock::now() - changed_at >= kSettleTime) break;
      } else if (SteadyClock::now() >= deadline) {
        Broken("receive (line " + std::to_string(step.line) + "): cannot read " + incoming.name);
        return std::nullopt;
      }
      if (StopRequested()) return std::nullopt;
      std::this_thread::sleep_for(kPollInterval);
    }
    incoming.bytes = std::move(*previous);
    return incoming;
  }

  bool Receive(const Step& step) {
    std::optional<Incoming> incoming = Await(step);
    if (!incoming) return false;
    ++report_.received;
    const bool first = values_.stem.empty();
    const int number = last_number_ + 1;
    const std::string& name = incoming->name;

    XmlProblem problem;
    const std::optional<XmlElement> root =
        ParseAgentXml(Windows1252ToUtf8(incoming->bytes), problem);
    const std::string session = root ? HeaderText(*root, "SessionID") : std::string();
    const std::string msg_id = root ? HeaderText(*root, "MsgID") : std::string();
    std::vector<std::string> keys;
    if (root) keys = CommandKeys(*root);
    for (const std::string& key : keys) ++report_.commands[key];

    if (root) {
      Say("received " + name + " (SessionID " + session + ", MsgID " + msg_id + ": " +
          SummarizeCommands(keys) + ")");
    } else {
      Say("received " + name + " (not readable: " + problem.reason + ", line " +
          std::to_string(problem.line) + ")");
    }
    KeepAndRemove(*incoming);

    // The exchange's stem and session come with the first message.
    std::string name_session;
    if (first) {
      values_.stem = name.substr(0, name.size() - 5);  // without "1.xml"
      const std::string before = values_.stem.substr(0, values_.stem.size() - 1);
      size_t digits = before.size();
      while (digits > 0 && before[digits - 1] >= '0' && before[digits - 1] <= '9') --digits;
      name_session = before.substr(digits);
      values_.session = AllDigits(session) ? session : name_session;
    }
    values_.last = number;
    last_number_ = number;

    Check(IsOneCrLfLine(incoming->bytes), "one line ending CR LF");
    if (!root) {
      Check(false, "readable message: " + problem.reason);
    } else {
      if (first) {
        // The prefix may end in digits itself: the name's digits before
        // "_" end with the session number.
        const bool ok = AllDigits(session) && name_session.size() >= session.size() &&
                        name_session.compare(name_session.size() - session.size(), session.size(),
                                             session) == 0;
        Check(ok, "SyncHdr/SessionID = " + session +
                      (ok ? " (as in the name)" : ": does not match the name " + name));
      } else {
        const bool ok = session == values_.session;
        Check(ok,
              "SyncHdr/SessionID = " + values_.session + (ok ? "" : ": got \"" + session + "\""));
      }
      const std::string expected_id = std::to_string(number);
      const bool ok = msg_id == expected_id;
      Check(ok, "SyncHdr/MsgID = " + expected_id +
                    (ok ? " (as in the name)" : ": got \"" + msg_id + "\""));
    }
    for (const Expectation& expectation : step.expectations) {
      const CheckResult result = CheckExpectation(expectation, root ? &*root : nullptr, values_);
      Check(result.ok, result.text);
    }
    return true;
  }

  // The received file goes to the keep folder (when given) with its exact
  // bytes and leaves the upload folder.
  void KeepAndRemove(const Incoming& incoming) {
    std::string error;
    if (!options_.keep.empty()) {
      if (!MakeFolders(options_.keep, error) ||
          !WriteWholeFile(JoinPath(options_.keep, incoming.name), incoming.bytes, error)) {
        Check(false, "keep " + incoming.name + ": " + error);
      }
    }
    // The component may not have closed the file yet when its last byte is
    // read (Windows then refuses the deletion for a moment): try a while.
    const std::string path = JoinPath(options_.upload, incoming.name);
    for (int attempt = 1; !RemoveFile(path, error); ++attempt) {
      if (attempt * kPollInterval >= kSettleTime * 4) {
        Check(false, "remove " + incoming.name + " from the upload folder: " + error);
        return;
      }
      std::this_thread::sleep_for(kPollInterval);
    }
  }

  void Send(const Step& step) {
    const int number = values_.last + 1;
    std::string name;
    std::string bytes;
    if (step.kind == StepKind::kSend) {
      name = values_.stem + std::to_string(number) + ".xml";
    } else {
      name = FillPlaceholders(step.name, values_);
    }
    std::string what;
    if (step.kind == StepKind::kSendRaw) {
      bytes = BuildRaw(step.lines, values_);
      what = "raw, " + Plural(step.lines.size(), "line");
    } else if (step.appointments > 0) {
      bytes = BuildMessage(AppointmentLines(step.appointments), values_, number);
      what = Plural(static_cast<size_t>(step.appointments), "command");
    } else {
      bytes = BuildMessage(step.lines, values_, number);
      const int commands = CountCommands(WrapBody(step.lines, values_));
      what = commands < 0 ? std::string("not well-formed")
                          : Plural(static_cast<size_t>(commands), "command");
    }
    try {
      WriteFileHoldingLock(JoinPath(options_.download, name), bytes, step.hold_ms);
    } catch (const Error& e) {
      Broken("write " + name + " (line " + std::to_string(step.line) + "): " + e.description());
      return;
    }
    ++report_.sent;
    if (step.kind == StepKind::kSend) last_number_ = number;
    Say("wrote " + name + " (" + what + ", lock held " + std::to_string(step.hold_ms) + " ms)");
  }

  bool ExpectTaken(const Step& step) {
    const std::string name = FillPlaceholders(step.name, values_);
    const std::string path = JoinPath(options_.download, name);
    const SteadyClock::time_point deadline = SteadyClock::now() + Milliseconds(step.wait_ms);
    while (FileExists(path)) {
      if (StopRequested()) return false;
      if (SteadyClock::now() >= deadline) {
        Check(false, name + " taken: still in the download folder after " + Duration(step.wait_ms));
        return true;
      }
      std::this_thread::sleep_for(kPollInterval);
    }
    Check(true, name + " taken");
    return true;
  }

  bool ExpectNoMessage(const Step& step) {
    const SteadyClock::time_point deadline = SteadyClock::now() + Milliseconds(step.wait_ms);
    while (true) {
      for (const std::string& name : ListFileNames(options_.upload)) {
        if (StartsWithIgnoringCase(name, values_.stem)) {
          Check(false, "no further message: the component wrote " + name);
          return true;
        }
      }
      if (SteadyClock::now() >= deadline) break;
      if (StopRequested()) return false;
      std::this_thread::sleep_for(kPollInterval);
    }
    Check(true, "no further message within " + Duration(step.wait_ms));
    return true;
  }

  const Scenario& scenario_;
  const AgentOptions& options_;
  std::ostream& out_;
  AgentReport report_;
  Placeholders values_;
  // The last message number of the exchange on either side: the next
  // receive waits for the one after it.
  int last_number_ = 0;
};

}  // namespace

int RunScenario(const Scenario& scenario, const AgentOptions& options, std::ostream& transcript,
                AgentReport* report) {
  return Run(scenario, options, transcript).Go(report);
}

}  // namespace kdzv::agent
