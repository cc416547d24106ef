// zvsync analyze FILE: reads one download file as the component does and
// prints its header and every command with its fields, and every message
// the reader gives on the way (as "log: ..." lines).
#ifndef KDZV_CLI_ANALYZE_H_
#define KDZV_CLI_ANALYZE_H_

#include <string>

#include "cli/zvsync.h"

namespace kdzv {

class clZVUpDownFile;

// Exit status 0 when the file was read, 1 when not.
int AnalyzeCommand(const std::string& file, CliContext& context);

// The readable form of an analysed message.
std::string DescribeMessage(clZVUpDownFile& message);

}  // namespace kdzv

#endif  // KDZV_CLI_ANALYZE_H_
