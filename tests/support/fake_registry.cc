#include "support/fake_registry.h"

#include <algorithm>

#include "util/text.h"

namespace kdzv::test {

namespace {

constexpr uint32_t kQueryRight = 0x0001;  // KEY_QUERY_VALUE
constexpr uint32_t kSetRight = 0x0002;    // KEY_SET_VALUE

bool WantsWrite(uint32_t access) { return (access & kSetRight) != 0; }

}  // namespace

int32_t FakeRegistry::Injected(Op op) const {
  const auto it = failures_.find(op);
  return it == failures_.end() ? 0 : it->second;
}

FakeRegistry::Key* FakeRegistry::FindKey(RegistryRoot root, std::string_view path) {
  const auto it = keys_.find(KeyId{root, ToUpper(path)});
  return it == keys_.end() ? nullptr : &it->second;
}

const FakeRegistry::Key* FakeRegistry::FindKey(RegistryRoot root, std::string_view path) const {
  const auto it = keys_.find(KeyId{root, ToUpper(path)});
  return it == keys_.end() ? nullptr : &it->second;
}

int32_t FakeRegistry::Make(RegistryRoot root, std::string_view path) {
  size_t start = 0;
  while (true) {
    const size_t end = path.find('\\', start);
    const size_t part_end = end == std::string_view::npos ? path.size() : end;
    if (part_end == start) return reg::kInvalidName;
    const std::string_view prefix = path.substr(0, part_end);
    const KeyId id{root, ToUpper(prefix)};
    if (keys_.find(id) == keys_.end()) keys_.emplace(id, Key{std::string(prefix), {}});
    if (end == std::string_view::npos) return reg::kSuccess;
    start = end + 1;
  }
}

RegistryBackend::Handle FakeRegistry::NewHandle(RegistryRoot root, std::string_view path,
                                                uint32_t access) {
  const Handle handle = next_handle_++;
  handles_.emplace(handle, OpenKeyInfo{root, ToUpper(path), access});
  return handle;
}

int32_t FakeRegistry::Open(Op op, RegistryRoot root, std::string_view path, uint32_t access,
                           Handle* key) {
  *key = 0;
  if (const int32_t code = Injected(op)) return code;
  const bool read_only = read_only_.count(root) != 0;
  if (FindKey(root, path) == nullptr) {
    if (op == Op::kOpenKey) return reg::kFileNotFound;
    if (read_only) return reg::kAccessDenied;
    if (const int32_t made = Make(root, path)) return made;
  } else if (read_only && WantsWrite(access)) {
    return reg::kAccessDenied;
  }
  *key = NewHandle(root, path, access);
  return reg::kSuccess;
}

int32_t FakeRegistry::CreateKey(RegistryRoot root, std::string_view path, uint32_t access,
                                Handle* key) {
  const int32_t result = Open(Op::kCreateKey, root, path, access, key);
  calls.push_back(Call{Op::kCreateKey, root, std::string(path), access, *key, {}, {}, 0, result});
  return result;
}

int32_t FakeRegistry::OpenKey(RegistryRoot root, std::string_view path, uint32_t access,
                              Handle* key) {
  const int32_t result = Open(Op::kOpenKey, root, path, access, key);
  calls.push_back(Call{Op::kOpenKey, root, std::string(path), access, *key, {}, {}, 0, result});
  return result;
}

FakeRegistry::Key* FakeRegistry::Lookup(Handle key, uint32_t right, int32_t* code) {
  const auto it = handles_.find(key);
  if (it == handles_.end()) {
    *code = reg::kInvalidHandle;
    return nullptr;
  }
  if ((it->second.access & right) == 0) {
    *code = reg::kAccessDenied;
    return nullptr;
  }
  const auto found = keys_.find(KeyId{it->second.root, it->second.folded_path});
  if (found == keys_.end()) {
    *code = 1018;  // ERROR_KEY_DELETED
    return nullptr;
  }
  return &found->second;
}

int32_t FakeRegistry::QueryMaxValueLength(Handle key, size_t* bytes) {
  int32_t result = Injected(Op::kQueryMaxValueLength);
  if (result == 0) {
    if (const Key* stored = Lookup(key, kQueryRight, &result)) {
      size_t longest = 0;
      for (const auto& [folded, value] : stored->values) {
        longest = std::max(longest, value.second.size() + 1);
      }
      *bytes = longest;
    }
  }
  calls.push_back(Call{Op::kQueryMaxValueLength, {}, {}, 0, key, {}, {}, 0, result});
  return result;
}

int32_t FakeRegistry::QueryValue(Handle key, std::string_view name, size_t buffer_bytes,
                                 std::string* data) {
  int32_t result = Injected(Op::kQueryValue);
  if (result == 0) {
    if (const Key* stored = Lookup(key, kQueryRight, &result)) {
      const auto named = stored->values.find(ToUpper(name));
      if (named == stored->values.end()) {
        result = reg::kFileNotFound;
      } else if (named->second.second.size() + 1 > buffer_bytes) {
        result = reg::kMoreData;
      } else {
        *data = named->second.second;
      }
    }
  }
  calls.push_back(
      Call{Op::kQueryValue, {}, {}, 0, key, std::string(name), {}, buffer_bytes, result});
  return result;
}

int32_t FakeRegistry::SetValue(Handle key, std::string_view name, std::string_view data) {
  int32_t result = Injected(Op::kSetValue);
  if (result == 0) {
    const auto it = handles_.find(key);
    if (it != handles_.end() && read_only_.count(it->second.root) != 0) {
      result = reg::kAccessDenied;
    } else if (Key* stored = Lookup(key, kSetRight, &result)) {
      auto& slot = stored->values[ToUpper(name)];
      if (slot.first.empty()) slot.first = std::string(name);
      slot.second = std::string(data);
    }
  }
  calls.push_back(
      Call{Op::kSetValue, {}, {}, 0, key, std::string(name), std::string(data), 0, result});
  return result;
}

int32_t FakeRegistry::CloseKey(Handle key) {
  int32_t result = Injected(Op::kCloseKey);
  if (result == 0) {
    result = handles_.erase(key) == 1 ? reg::kSuccess : reg::kInvalidHandle;
  }
  calls.push_back(Call{Op::kCloseKey, {}, {}, 0, key, {}, {}, 0, result});
  return result;
}

int32_t FakeRegistry::DeleteKey(RegistryRoot root, std::string_view path) {
  int32_t result = Injected(Op::kDeleteKey);
  if (result == 0) {
    const std::string folded = ToUpper(path);
    const auto it = keys_.find(KeyId{root, folded});
    if (it == keys_.end()) {
      result = reg::kFileNotFound;
    } else if (read_only_.count(root) != 0) {
      result = reg::kAccessDenied;
    } else {
      const std::string prefix = folded + "\\";
      const bool has_sub_keys =
          std::any_of(keys_.begin(), keys_.end(), [&](const auto& entry) {
            return entry.first.first == root && entry.first.second.rfind(prefix, 0) == 0;
          });
      if (has_sub_keys) {
        result = reg::kAccessDenied;
      } else {
        keys_.erase(it);
      }
    }
  }
  calls.push_back(Call{Op::kDeleteKey, root, std::string(path), 0, 0, {}, {}, 0, result});
  return result;
}

bool FakeRegistry::HasKey(RegistryRoot root, std::string_view path) const {
  return FindKey(root, path) != nullptr;
}

std::optional<std::string> FakeRegistry::Value(RegistryRoot root, std::string_view path,
                                               std::string_view name) const {
  const Key* key = FindKey(root, path);
  if (key == nullptr) return std::nullopt;
  const auto it = key->values.find(ToUpper(name));
  if (it == key->values.end()) return std::nullopt;
  return it->second.second;
}

void FakeRegistry::PutValue(RegistryRoot root, std::string_view path, std::string_view name,
                            std::string_view data) {
  Make(root, path);
  auto& slot = FindKey(root, path)->values[ToUpper(name)];
  if (slot.first.empty()) slot.first = std::string(name);
  slot.second = std::string(data);
}

std::vector<std::string> FakeRegistry::ValueNames(RegistryRoot root,
                                                  std::string_view path) const {
  std::vector<std::string> names;
  if (const Key* key = FindKey(root, path)) {
    for (const auto& [folded, value] : key->values) names.push_back(value.first);
  }
  return names;
}

std::vector<FakeRegistry::Op> FakeRegistry::Ops() const {
  std::vector<Op> ops;
  for (const Call& call : calls) ops.push_back(call.op);
  return ops;
}

size_t FakeRegistry::CountOf(Op op) const {
  return static_cast<size_t>(
      std::count_if(calls.begin(), calls.end(), [op](const Call& c) { return c.op == op; }));
}

}  // namespace kdzv::test
