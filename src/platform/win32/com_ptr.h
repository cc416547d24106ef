// Owns one reference to a COM interface and releases it when it goes out
// of scope.
#ifndef KDZV_PLATFORM_WIN32_COM_PTR_H_
#define KDZV_PLATFORM_WIN32_COM_PTR_H_

#include <unknwn.h>
#include <windows.h>

namespace kdzv::win32 {

template <typename T>
class ComPtr {
 public:
  ComPtr() = default;
  ~ComPtr() { reset(); }
  ComPtr(const ComPtr&) = delete;
  ComPtr& operator=(const ComPtr&) = delete;
  ComPtr(ComPtr&& other) noexcept : pointer_(other.pointer_) { other.pointer_ = nullptr; }
  ComPtr& operator=(ComPtr&& other) noexcept {
    if (this != &other) {
      reset();
      pointer_ = other.pointer_;
      other.pointer_ = nullptr;
    }
    return *this;
  }

  T* get() const { return pointer_; }
  T* operator->() const { return pointer_; }
  explicit operator bool() const { return pointer_ != nullptr; }

  // For an out-parameter that receives a new reference: releases the one
  // held now.
  T** Put() {
    reset();
    return &pointer_;
  }
  // The same for functions that take a void** (CoCreateInstance,
  // QueryInterface).
  void** PutVoid() { return reinterpret_cast<void**>(Put()); }

  void reset() {
    if (pointer_ != nullptr) pointer_->Release();
    pointer_ = nullptr;
  }

 private:
  T* pointer_ = nullptr;
};

}  // namespace kdzv::win32

#endif  // KDZV_PLATFORM_WIN32_COM_PTR_H_
