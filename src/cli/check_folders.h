// zvsync settings check-folders: what the settings dialog's server-side
// confirmation asks of the host, done on this machine. The three folders of
// the stored settings are made where they are missing; the answer is "OK",
// or one line for each folder that cannot be made, saying why.
#ifndef KDZV_CLI_CHECK_FOLDERS_H_
#define KDZV_CLI_CHECK_FOLDERS_H_

#include <string>
#include <vector>

namespace kdzv {

class clZVSettings;

// The lines of the answer: {"OK"} when every folder exists now, otherwise
// `upload folder "PATH": REASON` (and download, depot) for each that does
// not. An empty upload or download folder is not set; an empty depot means
// that no depot is used and is fine.
std::vector<std::string> CheckFolders(const clZVSettings& settings);

}  // namespace kdzv

#endif  // KDZV_CLI_CHECK_FOLDERS_H_
