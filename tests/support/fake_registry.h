// An in-memory registry for tests: keys and string values held in maps,
// names compared without regard to case, every call recorded, and failures
// to order (a result code for every call of one operation, or no write
// rights below one root).
#ifndef KDZV_TESTS_SUPPORT_FAKE_REGISTRY_H_
#define KDZV_TESTS_SUPPORT_FAKE_REGISTRY_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "settings/registry_backend.h"

namespace kdzv::test {

class FakeRegistry : public RegistryBackend {
 public:
  enum class Op {
    kCreateKey,
    kOpenKey,
    kQueryMaxValueLength,
    kQueryValue,
    kSetValue,
    kCloseKey,
    kDeleteKey
  };

  struct Call {
    Op op;
    RegistryRoot root = RegistryRoot::kCurrentUser;  // key operations
    std::string path;                                // key operations
    uint32_t access = 0;                             // CreateKey, OpenKey
    Handle handle = 0;                               // the handle given or returned
    std::string name;                                // QueryValue, SetValue
    std::string data;                                // SetValue
    size_t buffer_bytes = 0;                         // QueryValue
    int32_t result = 0;
  };

  int32_t CreateKey(RegistryRoot root, std::string_view path, uint32_t access,
                    Handle* key) override;
  int32_t OpenKey(RegistryRoot root, std::string_view path, uint32_t access,
                  Handle* key) override;
  int32_t QueryMaxValueLength(Handle key, size_t* bytes) override;
  int32_t QueryValue(Handle key, std::string_view name, size_t buffer_bytes,
                     std::string* data) override;
  int32_t SetValue(Handle key, std::string_view name, std::string_view data) override;
  int32_t CloseKey(Handle key) override;
  int32_t DeleteKey(RegistryRoot root, std::string_view path) override;

  // Every later call of `op` answers `code` without doing anything; 0 lets
  // the operation work again.
  void FailOn(Op op, int32_t code) { failures_[op] = code; }
  // No write rights below `root`: creating a key, opening one with write
  // access, setting a value and deleting a key there answer 5.
  void DenyWrites(RegistryRoot root) { read_only_.insert(root); }

  // Direct access to the stored tree, bypassing the recording.
  bool HasKey(RegistryRoot root, std::string_view path) const;
  std::optional<std::string> Value(RegistryRoot root, std::string_view path,
                                   std::string_view name) const;
  void PutValue(RegistryRoot root, std::string_view path, std::string_view name,
                std::string_view data);
  // Names of the values of a key, as written, in name order.
  std::vector<std::string> ValueNames(RegistryRoot root, std::string_view path) const;
  size_t KeyCount() const { return keys_.size(); }
  size_t OpenHandleCount() const { return handles_.size(); }

  // The recorded calls.
  std::vector<Call> calls;
  std::vector<Op> Ops() const;
  size_t CountOf(Op op) const;

 private:
  struct Key {
    std::string path;  // as first written
    // folded name -> (name as first written, data)
    std::map<std::string, std::pair<std::string, std::string>> values;
  };
  struct OpenKeyInfo {
    RegistryRoot root;
    std::string folded_path;
    uint32_t access;
  };
  using KeyId = std::pair<RegistryRoot, std::string>;

  int32_t Injected(Op op) const;
  Key* FindKey(RegistryRoot root, std::string_view path);
  const Key* FindKey(RegistryRoot root, std::string_view path) const;
  // Creates the key and its parents; 123 for an empty name part.
  int32_t Make(RegistryRoot root, std::string_view path);
  Handle NewHandle(RegistryRoot root, std::string_view path, uint32_t access);
  int32_t Open(Op op, RegistryRoot root, std::string_view path, uint32_t access, Handle* key);
  // The existing key behind `key` when it was opened with `right`;
  // otherwise nullptr and in `code` the answer: 6 for an unknown handle,
  // 5 without the right, 1018 for a key deleted meanwhile.
  Key* Lookup(Handle key, uint32_t right, int32_t* code);

  std::map<KeyId, Key> keys_;
  std::map<Handle, OpenKeyInfo> handles_;
  std::map<Op, int32_t> failures_;
  std::set<RegistryRoot> read_only_;
  Handle next_handle_ = 1;
};

}  // namespace kdzv::test

#endif  // KDZV_TESTS_SUPPORT_FAKE_REGISTRY_H_
