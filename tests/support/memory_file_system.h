// An in-memory file system for core tests: files are byte strings; a path
// can be made to fail with a given error.
#ifndef KDZV_TESTS_SUPPORT_MEMORY_FILE_SYSTEM_H_
#define KDZV_TESTS_SUPPORT_MEMORY_FILE_SYSTEM_H_

#include <map>
#include <string>

#include "interface/file_system.h"
#include "util/error.h"

namespace kdzv::test {

class MemoryFileSystem : public FileSystem {
 public:
  void AppendToFile(std::string_view path, std::string_view bytes) override {
    ++appends;
    const auto failing = failures.find(std::string(path));
    if (failing != failures.end()) RaiseStandard(failing->second, "AppendToFile");
    files[std::string(path)] += bytes;
  }
  // Keeps the text as given (UTF-8): the code page is the real systems'
  // business.
  void WriteTextFile(std::string_view path, std::string_view text) override {
    const auto failing = failures.find(std::string(path));
    if (failing != failures.end()) RaiseStandard(failing->second, "WriteTextFile");
    files[std::string(path)] = text;
  }

  std::map<std::string, std::string> files;
  std::map<std::string, int32_t> failures;  // path -> error number
  int appends = 0;
};

}  // namespace kdzv::test

#endif  // KDZV_TESTS_SUPPORT_MEMORY_FILE_SYSTEM_H_
