// Owners of the automation values that COM calls hand out: a BSTR and a
// VARIANT, freed when they go out of scope.
#ifndef KDZV_PLATFORM_WIN32_COM_VALUES_H_
#define KDZV_PLATFORM_WIN32_COM_VALUES_H_

#include <ole2.h>
#include <windows.h>

#include <string>
#include <string_view>

namespace kdzv::win32 {

class UniqueBstr {
 public:
  UniqueBstr() = default;
  // A copy of `text`; raises "Out of memory" when it cannot be allocated.
  explicit UniqueBstr(std::wstring_view text);
  ~UniqueBstr() { reset(); }
  UniqueBstr(const UniqueBstr&) = delete;
  UniqueBstr& operator=(const UniqueBstr&) = delete;

  BSTR get() const { return value_; }
  // For an out-parameter: frees the string held now.
  BSTR* Put() {
    reset();
    return &value_;
  }
  // For a by-reference argument: the callee may free the string and put
  // another one there, which is then owned here.
  BSTR* Address() { return &value_; }
  // The string as UTF-8 ("" for a null BSTR).
  std::string Utf8() const;

  void reset() {
    if (value_ != nullptr) ::SysFreeString(value_);
    value_ = nullptr;
  }

 private:
  BSTR value_ = nullptr;
};

class UniqueVariant {
 public:
  UniqueVariant() { ::VariantInit(&value_); }
  ~UniqueVariant() { ::VariantClear(&value_); }
  UniqueVariant(const UniqueVariant&) = delete;
  UniqueVariant& operator=(const UniqueVariant&) = delete;

  // The variant is read by a call: it stays owned here.
  const VARIANT& get() const { return value_; }
  // For an out-parameter: clears the value held now.
  VARIANT* Put() {
    ::VariantClear(&value_);
    return &value_;
  }

 private:
  VARIANT value_;
};

}  // namespace kdzv::win32

#endif  // KDZV_PLATFORM_WIN32_COM_VALUES_H_
