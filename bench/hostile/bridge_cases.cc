// Answers of a host behind zvsync's bridge that are made to cost: nested
// deep, objects of very many members, and a large but honest answer of
// opening times, each read through the bridge host as an event's answer.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>

#include "cli/exec_host.h"
#include "hostile/hostile.h"
#include "platform/host_channel.h"

namespace kdzv::hostile {
namespace {

// A host that takes every line and answers each event with `answer`.
class OneAnswer : public HostChannel {
 public:
  explicit OneAnswer(const std::string* answer) : answer_(answer) {}
  Status WriteLine(std::string_view, int64_t) override { return Status::kOk; }
  Status ReadLine(int64_t, std::string& line) override {
    line = *answer_;
    return Status::kOk;
  }
  void CloseAndWait(int64_t) override {}

 private:
  const std::string* answer_;
};

// Asks one OnQueryOpeningTime of a bridge host that answers `answer`;
// `expect_refused`: whether the answer must be refused.
Run AskWith(std::shared_ptr<std::string> answer, bool expect_refused) {
  return [answer, expect_refused] {
    std::ostringstream out;
    bool reported = false;
    ExecHost host(out, std::make_unique<OneAnswer>(answer.get()),
                  [&reported](const std::string& problem) {
                    reported = true;
                    if (std::getenv("KDZV_HOSTILE_VERBOSE")) std::fprintf(stderr, "%s\n", problem.c_str());
                  });
    auto belegungen = std::make_shared<kdZVBelegungen>();
    int32_t retVal = 0;
    host.OnQueryOpeningTime(belegungen, retVal);
    if (reported != expect_refused) std::abort();
  };
}

KDZV_HOSTILE_CASE(BridgeDeepNesting) {
  return {"bridge/deep-nesting",
          {10'000, 80'000},
          {/*max_seconds=*/0.5, /*max_growth=*/3.0, /*heap_per_byte=*/4.0,
           /*heap_allowance=*/1 << 20},
          [](int64_t n, size_t& bytes) {
            auto answer = std::make_shared<std::string>(
                R"({"retVal":true,"belegungen":)" + std::string(static_cast<size_t>(n), '[') +
                std::string(static_cast<size_t>(n), ']') + "}");
            bytes = answer->size();
            return AskWith(answer, true);
          }};
}

KDZV_HOSTILE_CASE(BridgeManyMembers) {
  return {"bridge/many-members",
          {25'000, 200'000},
          {/*max_seconds=*/0.5, /*max_growth=*/3.0, /*heap_per_byte=*/4.0,
           /*heap_allowance=*/1 << 20},
          [](int64_t n, size_t& bytes) {
            auto answer = std::make_shared<std::string>(R"({"retVal":true,"belegungen":[{)");
            for (int64_t i = 0; i < n; ++i) *answer += "\"k" + std::to_string(i) + "\":1,";
            *answer += "\"MethodeID\":1}]}";
            bytes = answer->size();
            return AskWith(answer, true);
          }};
}

// An honest answer: many opening times, each with two slots.
KDZV_HOSTILE_CASE(BridgeLargeAnswer) {
  return {"bridge/large-answer",
          {1'000, 8'000},
          {/*max_seconds=*/1.0, /*max_growth=*/3.0, /*heap_per_byte=*/40.0,
           /*heap_allowance=*/1 << 20},
          [](int64_t n, size_t& bytes) {
            auto answer = std::make_shared<std::string>(R"({"retVal":true,"belegungen":[)");
            for (int64_t i = 0; i < n; ++i) {
              if (i > 0) *answer += ",";
              *answer += R"({"MethodeID":)" + std::to_string(i % 7) + R"(,"BehandlerID":)" +
                         std::to_string(i % 13) +
                         R"(,"Datum":"2024-07-01T00:00:00","Zeiten":[{"Dauer":30,"StartZeit":)"
                         R"("2024-07-01T08:00:00"},{"Dauer":45,"StartZeit":"2024-07-01T10:00:00"}]})";
            }
            *answer += "]}";
            bytes = answer->size();
            return AskWith(answer, false);
          }};
}

}  // namespace
}  // namespace kdzv::hostile
