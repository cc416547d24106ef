// An in-memory profile file for tests of the core: files, sections and keys
// held in maps, names matched without regard to case, values returned as
// stored. Records calls (also in one journal, in order, with the lock taken
// and given back) and can be told to fail.
#ifndef KDZV_TESTS_SUPPORT_FAKE_PROFILE_FILE_H_
#define KDZV_TESTS_SUPPORT_FAKE_PROFILE_FILE_H_

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "mapping/profile_file.h"
#include "util/error.h"
#include "util/text.h"

namespace kdzv::test {

class FakeProfileFile : public ProfileFile {
 public:
  struct Read {
    std::string section;
    std::string key;
    std::string default_value;
    size_t buffer_size;
    std::string file;
  };

  std::string GetString(std::string_view section, std::string_view key,
                        std::string_view default_value, size_t buffer_size,
                        std::string_view file) override {
    reads.push_back(Read{std::string(section), std::string(key), std::string(default_value),
                         buffer_size, std::string(file)});
    journal.push_back("GetString " + std::string(section) + "/" + std::string(key));
    if (fail_reads) Raise(fail_reads->number, fail_reads->description, "FakeProfileFile");
    if (buffer_size == 0) return {};
    std::string value(default_value);
    if (auto stored = Value(file, section, key)) value = *stored;
    if (value.size() > buffer_size - 1) value.resize(buffer_size - 1);
    return value;
  }

  void WriteString(std::string_view section, std::string_view key, std::string_view value,
                   std::string_view file) override {
    journal.push_back("WriteString " + std::string(section) + "/" + std::string(key) + "=" +
                      std::string(value));
    if (fail_writes) Raise(fail_writes->number, fail_writes->description, "FakeProfileFile");
    Set(file, section, key, value);
    ++writes;
  }

  void Flush(std::string_view file) override {
    flushes.emplace_back(file);
    journal.push_back("Flush");
  }

  std::unique_ptr<ProfileFileLock> Lock(std::string_view file) override {
    journal.push_back("Lock " + std::string(file));
    if (fail_lock) Raise(fail_lock->number, fail_lock->description, "FakeProfileFile");
    return std::make_unique<HeldLock>(*this, std::string(file));
  }

  // Stores a value as if the file held it.
  void Set(std::string_view file, std::string_view section, std::string_view key,
           std::string_view value) {
    files_[ToUpper(file)][ToUpper(section)][ToUpper(key)] = std::string(value);
  }

  // The stored value, or nothing when file, section or key is missing.
  std::optional<std::string> Value(std::string_view file, std::string_view section,
                                   std::string_view key) const {
    const auto f = files_.find(ToUpper(file));
    if (f == files_.end()) return std::nullopt;
    const auto s = f->second.find(ToUpper(section));
    if (s == f->second.end()) return std::nullopt;
    const auto k = s->second.find(ToUpper(key));
    if (k == s->second.end()) return std::nullopt;
    return k->second;
  }

  // When set, every GetString / WriteString raises this error.
  std::optional<ErrorInfo> fail_reads;
  std::optional<ErrorInfo> fail_writes;
  // When set, Lock raises this error.
  std::optional<ErrorInfo> fail_lock;

  std::vector<Read> reads;
  int writes = 0;
  std::vector<std::string> flushes;
  // "Lock F", "GetString S/K", "WriteString S/K=V", "Flush", "Unlock F".
  std::vector<std::string> journal;

 private:
  class HeldLock : public ProfileFileLock {
   public:
    HeldLock(FakeProfileFile& owner, std::string file) : owner_(owner), file_(std::move(file)) {}
    ~HeldLock() override { owner_.journal.push_back("Unlock " + file_); }

   private:
    FakeProfileFile& owner_;
    std::string file_;
  };

  using Section = std::map<std::string, std::string>;
  std::map<std::string, std::map<std::string, Section>> files_;
};

}  // namespace kdzv::test

#endif  // KDZV_TESTS_SUPPORT_FAKE_PROFILE_FILE_H_
