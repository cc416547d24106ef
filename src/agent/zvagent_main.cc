// zvagent's entry point.
#include <iostream>

#include "agent/zvagent.h"
#include "platform/platform.h"

int main(int argc, char** argv) {
  return kdzv::agent::ZvagentMain(kdzv::ProgramArguments(argc, argv), std::cout, std::cerr);
}
