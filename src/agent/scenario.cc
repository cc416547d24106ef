#include "agent/scenario.h"

#include <cstdint>

#include "agent/agent_xml.h"
#include "agent/send_message.h"

namespace kdzv::agent {

namespace {

constexpr int kMaxTimeoutSeconds = 3600;
constexpr int kMaxMilliseconds = 3600 * 1000;

std::string_view Trim(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

bool IsCommentOrBlank(std::string_view line) {
  const std::string_view trimmed = Trim(line);
  return trimmed.empty() || trimmed.front() == '#';
}

// Splits off the first word (up to a blank) of `rest`.
std::string_view NextWord(std::string_view& rest) {
  rest = Trim(rest);
  size_t end = 0;
  while (end < rest.size() && rest[end] != ' ' && rest[end] != '\t') ++end;
  const std::string_view word = rest.substr(0, end);
  rest = Trim(rest.substr(end));
  return word;
}

// A whole decimal number in [minimum, maximum].
std::optional<int> WholeNumber(std::string_view text, int minimum, int maximum) {
  if (text.empty() || text.size() > 9) return std::nullopt;
  int64_t value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + (c - '0');
  }
  if (value < minimum || value > maximum) return std::nullopt;
  return static_cast<int>(value);
}

// Every "{word}" in `text` must be one of the placeholders.
bool CheckPlaceholders(std::string_view text, std::string& error) {
  for (size_t open = text.find('{'); open != std::string_view::npos;
       open = text.find('{', open + 1)) {
    size_t end = open + 1;
    while (end < text.size() && text[end] >= 'a' && text[end] <= 'z') ++end;
    if (end == open + 1 || end >= text.size() || text[end] != '}') continue;
    const std::string_view candidate = text.substr(open, end - open + 1);
    bool known = false;
    for (const char* placeholder : kPlaceholders) known = known || candidate == placeholder;
    if (!known) {
      error = "unknown placeholder " + std::string(candidate) +
              " (known: {session} {stem} {msg} {last} {next})";
      return false;
    }
  }
  return true;
}

// A file name for the download folder: one word, no folder in it.
bool CheckFileName(std::string_view name, std::string_view directive, std::string& error) {
  if (name.empty()) {
    error = std::string(directive) + " needs a file name";
    return false;
  }
  if (name.find_first_of("/\\") != std::string_view::npos) {
    error = "the file name \"" + std::string(name) + "\" must not name a folder";
    return false;
  }
  return CheckPlaceholders(name, error);
}

class Parser {
 public:
  explicit Parser(std::string& error) : error_(error) {}

  std::optional<Scenario> Run(std::string_view text) {
    SplitLines(text);
    for (line_index_ = 0; line_index_ < lines_.size(); ++line_index_) {
      const std::string_view line = lines_[line_index_];
      if (IsCommentOrBlank(line)) continue;
      if (!Directive(line)) return std::nullopt;
    }
    if (!seen_scenario_) {
      return Fail(1, "the file holds no \"scenario NAME\" line");
    }
    if (scenario_.steps.empty()) return Fail(scenario_line_, "the scenario has no steps");
    return std::move(scenario_);
  }

 private:
  std::nullopt_t Fail(int line, const std::string& reason) {
    error_ = "scenario line " + std::to_string(line) + ": " + reason;
    return std::nullopt;
  }

  int LineNumber() const { return static_cast<int>(line_index_) + 1; }

  bool FailHere(const std::string& reason) {
    Fail(LineNumber(), reason);
    return false;
  }

  void SplitLines(std::string_view text) {
    while (!text.empty()) {
      const size_t end = text.find('\n');
      std::string_view line = text.substr(0, end);
      if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
      lines_.push_back(line);
      if (end == std::string_view::npos) break;
      text.remove_prefix(end + 1);
    }
    if (!lines_.empty() && lines_[0].substr(0, 3) == "\xEF\xBB\xBF") lines_[0].remove_prefix(3);
  }

  bool Directive(std::string_view line) {
    std::string_view rest = line;
    const std::string_view word = NextWord(rest);
    if (!seen_scenario_ && word != "scenario") {
      return FailHere("the file must begin with \"scenario NAME\"");
    }
    if (word == "scenario") return ScenarioLine(rest);
    if (word == "about") {
      if (rest.empty()) return FailHere("about needs a text");
      scenario_.about.emplace_back(rest);
      return true;
    }
    if (word == "timeout") {
      const std::optional<int> seconds = WholeNumber(rest, 1, kMaxTimeoutSeconds);
      if (!seconds) return FailHere("timeout needs a whole number of seconds from 1 to 3600");
      timeout_ms_ = *seconds * 1000;
      return true;
    }
    if (word == "hold") {
      const std::optional<int> ms = WholeNumber(rest, 0, kMaxMilliseconds);
      if (!ms) return FailHere("hold needs a whole number of milliseconds from 0 to 3600000");
      hold_ms_ = *ms;
      return true;
    }
    if (word == "receive") {
      if (!rest.empty()) return FailHere("receive takes nothing after it");
      return ReceiveBlock();
    }
    if (word == "send" || word == "send-file" || word == "send-raw") return SendBlock(word, rest);
    if (word == "send-appointments") return SendAppointments(rest);
    if (word == "expect-taken") return ExpectTaken(rest);
    if (word == "expect-no-message") return ExpectNoMessage(rest);
    if (word == "end") return FailHere("\"end\" without a block to close");
    if (word == "expect") return FailHere("\"expect\" belongs inside a receive block");
    return FailHere("unknown directive \"" + std::string(word) + "\"");
  }

  bool ScenarioLine(std::string_view rest) {
    if (seen_scenario_) return FailHere("a second \"scenario\" line");
    std::string_view name = NextWord(rest);
    if (name.empty() || !rest.empty()) return FailHere("scenario needs one name (no blanks)");
    seen_scenario_ = true;
    scenario_line_ = LineNumber();
    scenario_.name = std::string(name);
    return true;
  }

  // Steps that act on the exchange need its session, learnt by a receive.
  bool NeedSession(std::string_view directive) {
    if (received_) return true;
    return FailHere(std::string(directive) +
                    " before the first receive (the session is not known yet)");
  }

  bool ReceiveBlock() {
    Step step;
    step.kind = StepKind::kReceive;
    step.line = LineNumber();
    step.wait_ms = timeout_ms_;
    for (++line_index_; line_index_ < lines_.size(); ++line_index_) {
      const std::string_view line = lines_[line_index_];
      if (IsCommentOrBlank(line)) continue;
      if (Trim(line) == "end") {
        received_ = true;
        scenario_.steps.push_back(std::move(step));
        return true;
      }
      std::string_view rest = line;
      const std::string_view word = NextWord(rest);
      if (word != "expect") {
        return FailHere("only \"expect\" lines belong inside receive (missing \"end\"?)");
      }
      Expectation expectation;
      if (!ParseExpectation(rest, expectation)) return false;
      step.expectations.push_back(std::move(expectation));
    }
    Fail(step.line, "receive without \"end\"");
    return false;
  }

  bool ParseExpectation(std::string_view rest, Expectation& expectation) {
    expectation.line = LineNumber();
    std::string error;
    if (!CheckPlaceholders(rest, error)) return FailHere(error);
    std::string_view form = rest;
    const std::string_view first = NextWord(form);
    if (first == "count" || first == "none") {
      const std::string_view path_text = PathWord(form);
      if (path_text.empty()) return FailHere("expect " + std::string(first) + " needs a path");
      if (!Path(path_text, expectation.path)) return false;
      if (first == "none") {
        if (!form.empty()) return FailHere("expect none takes only a path");
        expectation.kind = Expectation::Kind::kNone;
        return true;
      }
      const std::optional<int> count = WholeNumber(form, 0, 1000000);
      if (!count) return FailHere("expect count needs a path and a whole number");
      expectation.kind = Expectation::Kind::kCount;
      expectation.count = *count;
      return true;
    }
    form = Trim(rest);
    const std::string_view path_text = PathWord(form);
    if (path_text.empty()) return FailHere("expect needs a path");
    if (!Path(path_text, expectation.path)) return false;
    if (form.empty() || form.front() != '=') {
      return FailHere("expect needs \"= TEXT\" after the path (or: expect count/none)");
    }
    expectation.kind = Expectation::Kind::kText;
    expectation.text = std::string(Trim(form.substr(1)));
    return true;
  }

  // Splits off a path: everything up to the first blank outside brackets.
  static std::string_view PathWord(std::string_view& rest) {
    rest = Trim(rest);
    size_t end = 0;
    bool in_brackets = false;
    while (end < rest.size()) {
      const char c = rest[end];
      if (c == '[') in_brackets = true;
      if (c == ']') in_brackets = false;
      if (!in_brackets && (c == ' ' || c == '\t')) break;
      ++end;
    }
    const std::string_view word = rest.substr(0, end);
    rest = Trim(rest.substr(end));
    return word;
  }

  bool Path(std::string_view text, MessagePath& path) {
    std::string error;
    std::optional<MessagePath> parsed = ParseMessagePath(text, error);
    if (!parsed) return FailHere("bad path: " + error);
    path = std::move(*parsed);
    return true;
  }

  bool SendBlock(std::string_view word, std::string_view rest) {
    Step step;
    step.line = LineNumber();
    step.hold_ms = hold_ms_;
    if (word == "send") {
      step.kind = StepKind::kSend;
      if (!rest.empty()) return FailHere("send takes nothing after it (see send-file)");
    } else {
      step.kind = word == "send-file" ? StepKind::kSendFile : StepKind::kSendRaw;
      std::string error;
      if (!CheckFileName(rest, word, error)) return FailHere(error);
      if (rest.find_first_of(" \t") != std::string_view::npos) {
        return FailHere(std::string(word) + " takes one file name (no blanks)");
      }
      step.name = std::string(rest);
    }
    if (!NeedSession(word)) return false;
    std::vector<int> source_lines;  // the scenario line of each block line
    for (++line_index_; line_index_ < lines_.size(); ++line_index_) {
      const std::string_view line = lines_[line_index_];
      if (Trim(line) == "end") {
        if (step.kind != StepKind::kSendRaw && !CheckBody(step, source_lines)) return false;
        scenario_.steps.push_back(std::move(step));
        return true;
      }
      if (!Trim(line).empty() && Trim(line).front() == '#') continue;
      std::string error;
      if (!CheckPlaceholders(line, error)) return FailHere(error);
      step.lines.emplace_back(line);
      source_lines.push_back(LineNumber());
    }
    Fail(step.line, std::string(word) + " without \"end\"");
    return false;
  }

  // "send-appointments N": a message of N added appointments, made when it
  // is sent.
  bool SendAppointments(std::string_view rest) {
    const std::optional<int> count = WholeNumber(rest, 1, kMaxGeneratedAppointments);
    if (!count) {
      return FailHere("send-appointments needs a whole number of appointments from 1 to " +
                      std::to_string(kMaxGeneratedAppointments));
    }
    if (!NeedSession("send-appointments")) return false;
    Step step;
    step.kind = StepKind::kSend;
    step.line = LineNumber();
    step.hold_ms = hold_ms_;
    step.appointments = *count;
    scenario_.steps.push_back(std::move(step));
    return true;
  }

  // A send block must make a well-formed message once wrapped; the error
  // points at the block line where the XML goes wrong.
  bool CheckBody(const Step& step, const std::vector<int>& source_lines) {
    const Placeholders sample{"1", "X1_", 1};
    const std::string body = WrapBody(step.lines, sample);
    XmlProblem problem;
    if (ParseAgentXml(body, problem)) return true;
    // Line k of the body is block line k; the closing tags stand on the
    // last one (an empty block has none: then the "end" line is meant).
    const size_t index = static_cast<size_t>(problem.line - 1);
    const int line = index < source_lines.size() ? source_lines[index] : LineNumber();
    Fail(line, "the message is not well-formed XML: " + problem.reason);
    return false;
  }

  bool ExpectTaken(std::string_view rest) {
    Step step;
    step.kind = StepKind::kExpectTaken;
    step.line = LineNumber();
    const std::string_view name = NextWord(rest);
    std::string error;
    if (!CheckFileName(name, "expect-taken", error)) return FailHere(error);
    step.name = std::string(name);
    step.wait_ms = kDefaultTakenMs;
    if (!rest.empty()) {
      const std::optional<int> ms = WholeNumber(rest, 1, kMaxMilliseconds);
      if (!ms) return FailHere("expect-taken needs a file name and optionally milliseconds");
      step.wait_ms = *ms;
    }
    if (!NeedSession("expect-taken")) return false;
    scenario_.steps.push_back(std::move(step));
    return true;
  }

  bool ExpectNoMessage(std::string_view rest) {
    Step step;
    step.kind = StepKind::kExpectNoMessage;
    step.line = LineNumber();
    const std::optional<int> ms = WholeNumber(rest, 1, kMaxMilliseconds);
    if (!ms) return FailHere("expect-no-message needs a whole number of milliseconds");
    step.wait_ms = *ms;
    if (!NeedSession("expect-no-message")) return false;
    scenario_.steps.push_back(std::move(step));
    return true;
  }

  std::string& error_;
  std::vector<std::string_view> lines_;
  size_t line_index_ = 0;
  Scenario scenario_;
  bool seen_scenario_ = false;
  int scenario_line_ = 0;
  bool received_ = false;
  int timeout_ms_ = kDefaultTimeoutSeconds * 1000;
  int hold_ms_ = 0;
};

}  // namespace

std::optional<Scenario> ParseScenario(std::string_view text, std::string& error) {
  error.clear();
  return Parser(error).Run(text);
}

}  // namespace kdzv::agent
