// The folder-change port: the system tells when files arrive in a folder,
// so that the wait for an answer can look at once instead of at the next
// tick of its poll. The poll stays: a change on a share may never be told.
#ifndef KDZV_INTERFACE_FOLDER_CHANGES_H_
#define KDZV_INTERFACE_FOLDER_CHANGES_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace kdzv {

// Watching goes on while one lives.
class FolderChangeWatch {
 public:
  virtual ~FolderChangeWatch() = default;
};

class FolderChanges {
 public:
  virtual ~FolderChanges() = default;
  // Watches `folder` for files that were written and closed there or moved
  // in. `on_change` runs on the thread of the message loop, once the folder
  // has been quiet for `settle_ms` after the last such change (a file
  // written in many pieces, or several files, give one call). Null, with
  // `reason` saying why, when the system cannot watch the folder.
  virtual std::unique_ptr<FolderChangeWatch> Watch(const std::string& folder, int32_t settle_ms,
                                                   std::function<void()> on_change,
                                                   std::string& reason) = 0;
  // Whether a file written in place is told once its writer closes it (as
  // inotify's IN_CLOSE_WRITE does). When not (Windows tells each write but
  // not the close), a notification may come while the writer still holds
  // the file, and the wait probes it again a few times before it leaves it
  // to the poll.
  virtual bool TellsWhenWriterCloses() const { return true; }
};

}  // namespace kdzv

#endif  // KDZV_INTERFACE_FOLDER_CHANGES_H_
