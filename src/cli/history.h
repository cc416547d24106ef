// zvsync history: a support view of past exchanges, read from the depot
// (the messages the component received and put away) and from the log
// (with its older part, <log>.1). Per session, in time order: its time and
// number, its messages, every command in them and the failures the log
// recorded between the session's "(StartSync)" start and its
// "Rückgabewert" line.
#ifndef KDZV_CLI_HISTORY_H_
#define KDZV_CLI_HISTORY_H_

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "cli/zvsync.h"
#include "util/date_time.h"

namespace kdzv {

struct HistoryCommand {
  std::string file;  // the message it came in
  std::string kind;  // "appointment added", "calendar added", ...
  std::string text;  // service ids, names, start, ...
};

struct HistoryMessage {
  std::string file;
  int64_t msg_id = -1;  // -1: unknown
  bool refused = false;
  std::string reason;  // why the reader refused it ("" when it gave none)
};

struct HistoryLogLine {
  std::string time;  // "date time" as the log has it ("" for an undated line)
  std::string text;
  bool failure = false;
};

struct HistorySession {
  int64_t number = -1;  // -1: the log names none (an exchange that never began)
  std::optional<DateTime> time;
  std::vector<HistoryMessage> messages;
  std::vector<HistoryCommand> commands;
  std::vector<HistoryLogLine> log;  // every line of its span
  std::optional<int> result;        // the "Rückgabewert"
};

struct HistoryOptions {
  std::string depot;
  std::string log;  // "" for none
  std::optional<DateTime> since;
  std::string find;
  std::string html;  // "" for none
};

// Whether a log line tells of a failure.
bool IsFailureLogLine(const std::string& text);

// The sessions of `options.depot` and `options.log`, in time order,
// filtered by `since` and `find`. Raises kdzv::Error when the depot cannot
// be listed; a file that cannot be read is a refused message.
std::vector<HistorySession> CollectHistory(const HistoryOptions& options, CliContext& context);

void WriteHistoryText(std::ostream& out, const std::vector<HistorySession>& sessions);

// One page that needs nothing from outside; every text escaped.
std::string HistoryHtml(const std::vector<HistorySession>& sessions, const HistoryOptions& options);

// zvsync history ...: exit status 0, 1 when the depot cannot be read or the
// page cannot be written, 2 for bad usage.
int RunHistory(const std::vector<std::string>& args, CliContext& context);

}  // namespace kdzv

#endif  // KDZV_CLI_HISTORY_H_
