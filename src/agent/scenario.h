// A scenario: what the simulated agent of the booking service does in one
// exchange, step by step, and what it expects of the component's messages.
// The text form is described in docs/scenarios.md; ParseScenario turns it
// into the structures below.
#ifndef KDZV_AGENT_SCENARIO_H_
#define KDZV_AGENT_SCENARIO_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "agent/message_path.h"

namespace kdzv::agent {

// One check of a received message.
struct Expectation {
  enum class Kind {
    kText,   // expect PATH = TEXT: the first element found has that text
    kCount,  // expect count PATH N: exactly N elements are found
    kNone,   // expect none PATH: no element is found
  };
  Kind kind = Kind::kText;
  MessagePath path;  // filter texts may hold placeholders
  std::string text;  // kText: the expected text, may hold placeholders
  int count = 0;     // kCount
  int line = 0;      // the scenario line
};

enum class StepKind {
  kReceive,          // wait for the component's next message and check it
  kSend,             // write the agent's next message (the counter's name)
  kSendFile,         // the same under an explicit name
  kSendRaw,          // the block's lines as they stand, under an explicit name
  kExpectTaken,      // a download file disappears in time
  kExpectNoMessage,  // the component writes nothing more in time
};

struct Step {
  StepKind kind = StepKind::kReceive;
  int line = 0;                           // the line of the directive
  std::string name;                       // send-file, send-raw, expect-taken
  std::vector<std::string> lines;         // send blocks: the block's lines
  std::vector<Expectation> expectations;  // receive
  // receive: the time-out in effect; expect-taken and expect-no-message:
  // their own time.
  int wait_ms = 0;
  int hold_ms = 0;  // send blocks: how long the written file stays locked
  // send-appointments: the number of added appointments the message holds
  // (its lines are made when it is sent).
  int appointments = 0;
};

struct Scenario {
  std::string name;
  std::vector<std::string> about;  // in the order written
  std::vector<Step> steps;
};

inline constexpr int kDefaultTimeoutSeconds = 20;
inline constexpr int kDefaultTakenMs = 5000;
// The most appointments one send-appointments step may make (about 160 MB).
inline constexpr int kMaxGeneratedAppointments = 250000;

// Parses a scenario file's text (UTF-8). On a syntax error returns nothing
// and sets `error` to "scenario line N: " + the reason.
std::optional<Scenario> ParseScenario(std::string_view text, std::string& error);

// The placeholders that names and block lines may hold.
inline constexpr const char* kPlaceholders[] = {"{session}", "{stem}", "{msg}", "{last}", "{next}"};

}  // namespace kdzv::agent

#endif  // KDZV_AGENT_SCENARIO_H_
