// Takes session numbers as the library takes one when it opens an exchange
// (clZVMatching::TakeNextSessionID on the system's profile file, with its
// lock) and prints each on a line of its own. It takes the first only after
// a line has come on its standard input, so that two probes started one
// after the other take their numbers at the same time. An error report is
// printed as a line "ERROR: ..." instead of a number.
//   kdzv_session_probe CFG_PATH COUNT
#include <cstdio>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "interface/process.h"
#include "mapping/matching.h"
#include "platform/platform.h"
#include "util/error.h"

namespace {

class PrintReports : public kdzv::ErrorLogTarget {
 public:
  void WriteLogLine(std::string_view text) override {
    std::printf("ERROR: %.*s\n", static_cast<int>(text.size()), text.data());
  }
};

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> args = kdzv::ProgramArguments(argc, argv);
  if (args.size() != 2) {
    std::fprintf(stderr, "usage: kdzv_session_probe CFG_PATH COUNT\n");
    return 2;
  }
  const std::string& cfg = args[0];
  const int count = std::stoi(args[1]);
  PrintReports reports;
  kdzv::process::SetActiveInterface(&reports);
  kdzv::clZVMatching matching(kdzv::System().profile_file);
  std::string go;
  std::getline(std::cin, go);
  for (int i = 0; i < count; ++i) {
    try {
      std::printf("%d\n", static_cast<int>(matching.TakeNextSessionID(cfg)));
    } catch (...) {
      reports.WriteLogLine(kdzv::CurrentErrorInfo().description);
    }
    std::fflush(stdout);
  }
  kdzv::process::SetActiveInterface(nullptr);
  return 0;
}
