// Owns one reference to a COM interface and releases it when it goes out
// of scope. Every COM pointer that outlives a single expression is held in
// one: a raw pointer is only ever borrowed, and AddRef/Release are called
// here and nowhere else outside an object's own reference count.
#ifndef KDZV_PLATFORM_WIN32_COM_PTR_H_
#define KDZV_PLATFORM_WIN32_COM_PTR_H_

#include <unknwn.h>
#include <windows.h>

#include <cstddef>
#include <utility>

namespace kdzv::win32 {

template <typename T>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(std::nullptr_t) {}  // NOLINT: a null pointer converts
  ~ComPtr() { reset(); }
  ComPtr(const ComPtr& other) noexcept : pointer_(other.pointer_) {
    if (pointer_ != nullptr) pointer_->AddRef();
  }
  ComPtr& operator=(const ComPtr& other) noexcept {
    ComPtr copy(other);
    swap(copy);
    return *this;
  }
  ComPtr(ComPtr&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
  ComPtr& operator=(ComPtr&& other) noexcept {
    ComPtr taken(std::move(other));
    swap(taken);
    return *this;
  }

  // Takes over a reference that the caller owns (a freshly made object, an
  // out-parameter filled by a call): nothing is added.
  static ComPtr Adopt(T* pointer) noexcept {
    ComPtr held;
    held.pointer_ = pointer;
    return held;
  }
  // Takes a reference of its own on a borrowed pointer.
  static ComPtr Retain(T* pointer) noexcept {
    ComPtr held;
    held.pointer_ = pointer;
    if (pointer != nullptr) pointer->AddRef();
    return held;
  }

  T* get() const noexcept { return pointer_; }
  T* operator->() const noexcept { return pointer_; }
  explicit operator bool() const noexcept { return pointer_ != nullptr; }

  // For an out-parameter that receives a new reference: releases the one
  // held now.
  T** Put() noexcept {
    reset();
    return &pointer_;
  }
  // The same for functions that take a void** (CoCreateInstance,
  // QueryInterface).
  void** PutVoid() noexcept { return reinterpret_cast<void**>(Put()); }

  // Hands the reference held over to the caller (an out-parameter of an
  // interface method), leaving this empty.
  T* Detach() noexcept { return std::exchange(pointer_, nullptr); }
  // Gives the caller a reference of its own, keeping this one.
  void CopyTo(T** out) const noexcept {
    *out = pointer_;
    if (pointer_ != nullptr) pointer_->AddRef();
  }
  // Interface `U` of the object held, or empty when it has none.
  template <typename U>
  ComPtr<U> Query(REFIID riid) const noexcept {
    ComPtr<U> other;
    if (pointer_ != nullptr && FAILED(pointer_->QueryInterface(riid, other.PutVoid()))) {
      other.reset();
    }
    return other;
  }

  void reset() noexcept {
    if (T* old = std::exchange(pointer_, nullptr)) old->Release();
  }
  void swap(ComPtr& other) noexcept { std::swap(pointer_, other.pointer_); }

 private:
  T* pointer_ = nullptr;
};

}  // namespace kdzv::win32

#endif  // KDZV_PLATFORM_WIN32_COM_PTR_H_
