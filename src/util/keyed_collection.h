// The one collection of the component: an ordered list, numbered from 1, in
// which an element can also be found by an optional text key. Keys are unique
// and compared without regard to case. Failures are those of the host
// language's keyed list:
//   5   "Invalid procedure call or argument"  (an unknown key, an index of a wrong kind)
//   9   "Subscript out of range"              (a position outside 1..Count)
//   457 "This key is already associated with an element of this collection"
//
// Elements are held by shared pointer: the collection and the host (or another
// collection) may hold the same record, and a record added under one key is
// the very object that Item() returns.
#ifndef KDZV_UTIL_KEYED_COLLECTION_H_
#define KDZV_UTIL_KEYED_COLLECTION_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

#include "util/error.h"
#include "util/text.h"

namespace kdzv {

// A position (1-based) or a key: the argument `vntIndexKey` of Item/Remove.
using IndexOrKey = std::variant<int32_t, std::string>;

template <class T>
class KeyedCollection {
 public:
  using Pointer = std::shared_ptr<T>;

  // Appends `item`; a non-empty `key` is registered for it. Raises 457 for a
  // key already in the collection (case-insensitively) and 5 for a null item.
  const Pointer& Add(Pointer item, std::string_view key = {}) {
    if (!item) RaiseStandard(err::kInvalidCall);
    std::string folded;
    if (!key.empty()) {
      folded = ToUpper(key);
      if (Registered(folded) != nullptr) RaiseStandard(err::kDuplicateKey);
    }
    items_.push_back(std::move(item));
    if (folded.empty() && keys_.empty()) return items_.back();
    try {
      // The keys are kept beside the elements from the first one on, with
      // as much room as the elements have.
      if (keys_.empty()) keys_.reserve(items_.capacity());
      keys_.resize(items_.size() - 1);
      keys_.push_back(folded);
    } catch (...) {
      items_.pop_back();
      throw;
    }
    if (!folded.empty()) {
      ++keyed_;
      if (index_) {
        index_->emplace(std::move(folded), items_.back());
      } else if (keyed_ > kScannedKeys) {
        BuildIndex();
      }
    }
    return items_.back();
  }

  int32_t Count() const { return static_cast<int32_t>(items_.size()); }

  const Pointer& Item(int32_t position) const { return items_[Locate(position)]; }
  const Pointer& Item(std::string_view key) const { return Find(key); }
  const Pointer& Item(const char* key) const { return Item(std::string_view(key)); }
  const Pointer& Item(const std::string& key) const { return Item(std::string_view(key)); }
  const Pointer& Item(const IndexOrKey& index_or_key) const {
    if (const auto* position = std::get_if<int32_t>(&index_or_key)) return Item(*position);
    return Item(std::string_view(std::get<std::string>(index_or_key)));
  }

  // Whether an element is registered under `key`.
  bool Contains(std::string_view key) const {
    return !key.empty() && Registered(ToUpper(key)) != nullptr;
  }

  void Remove(int32_t position) { Erase(Locate(position)); }
  void Remove(std::string_view key) { Erase(Locate(key)); }
  void Remove(const char* key) { Remove(std::string_view(key)); }
  void Remove(const std::string& key) { Remove(std::string_view(key)); }
  void Remove(const IndexOrKey& index_or_key) { Erase(Locate(index_or_key)); }

  // Hands every element, in order, to `each(pointer)` and lets go of each
  // one as soon as `each` has returned (unless `each` kept it): the
  // collection is empty from the start. For a large collection that is gone
  // through once, whose elements should go one by one rather than all at the
  // end. If `each` raises, the elements not yet handed over go with it.
  template <class Each>
  void Drain(Each&& each) {
    std::vector<Pointer> items = std::move(items_);
    Clear();
    for (Pointer& entry : items) {
      Pointer item = std::move(entry);
      each(item);
    }
  }

  void Clear() {
    items_.clear();
    ForgetKeys();
  }

  // Keeps every element, in order, but none under its key any more.
  void ForgetKeys() {
    keys_ = std::vector<std::string>();
    index_.reset();
    keyed_ = 0;
  }

  // Makes room for `count` elements in all, as one block.
  void Reserve(size_t count) { items_.reserve(count); }

  // Iteration in insertion order yields the shared pointers.
  using const_iterator = typename std::vector<Pointer>::const_iterator;
  const_iterator begin() const { return items_.begin(); }
  const_iterator end() const { return items_.end(); }

 private:
  using Index = std::unordered_map<std::string, Pointer>;

  // Up to this many keys are found by going through the keys: most
  // collections (the attributes of an appointment, the values of an
  // attribute) hold a few, and a hash index would cost more than it saves.
  static constexpr size_t kScannedKeys = 8;

  void BuildIndex() {
    auto index = std::make_unique<Index>();
    for (size_t i = 0; i < keys_.size(); ++i) {
      if (!keys_[i].empty()) index->emplace(keys_[i], items_[i]);
    }
    index_ = std::move(index);
  }

  // The element registered under an upper-case key, or null.
  const Pointer* Registered(const std::string& folded) const {
    if (index_) {
      const auto found = index_->find(folded);
      return found == index_->end() ? nullptr : &found->second;
    }
    for (size_t i = 0; i < keys_.size(); ++i) {
      if (keys_[i] == folded) return &items_[i];
    }
    return nullptr;
  }

  const Pointer& Find(std::string_view key) const {
    // The keyed list reports an unknown key as an invalid argument.
    if (key.empty()) RaiseStandard(err::kInvalidCall);
    const Pointer* found = Registered(ToUpper(key));
    if (found == nullptr) RaiseStandard(err::kInvalidCall);
    return *found;
  }
  size_t Locate(int32_t position) const {
    if (position < 1 || position > Count()) RaiseStandard(err::kSubscriptOutOfRange);
    return static_cast<size_t>(position - 1);
  }
  size_t Locate(std::string_view key) const {
    if (key.empty()) RaiseStandard(err::kInvalidCall);
    const std::string folded = ToUpper(key);
    for (size_t i = 0; i < keys_.size(); ++i) {
      if (keys_[i] == folded) return i;
    }
    RaiseStandard(err::kInvalidCall);
  }
  size_t Locate(const IndexOrKey& index_or_key) const {
    if (const auto* position = std::get_if<int32_t>(&index_or_key)) return Locate(*position);
    return Locate(std::string_view(std::get<std::string>(index_or_key)));
  }
  void Erase(size_t i) {
    const auto at = static_cast<std::ptrdiff_t>(i);
    if (!keys_.empty()) {
      if (!keys_[i].empty()) {
        --keyed_;
        if (index_) index_->erase(keys_[i]);
      }
      keys_.erase(keys_.begin() + at);
    }
    items_.erase(items_.begin() + at);
  }

  std::vector<Pointer> items_;
  // The upper-case key of each element (empty: none); no entries at all
  // while no element has a key.
  std::vector<std::string> keys_;
  size_t keyed_ = 0;  // how many elements have a key
  // Every key, once there are more than kScannedKeys; null before.
  std::unique_ptr<Index> index_;
};

}  // namespace kdzv

#endif  // KDZV_UTIL_KEYED_COLLECTION_H_
