// A client of the library as a host written in a late-binding language
// uses it: classes created by ProgID, members found by name through
// GetIDsOfNames and called through IDispatch::Invoke, with no header of the
// library. Only the system's own declarations are used.
#ifndef KDZV_TESTS_COM_HOST_AUTOMATION_CLIENT_H_
#define KDZV_TESTS_COM_HOST_AUTOMATION_CLIENT_H_

#include <oaidl.h>
#include <windows.h>

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace kdzv::host {

// A VARIANT that clears itself.
class Var {
 public:
  Var() { ::VariantInit(&value_); }
  Var(int value) : Var() { V_VT(&value_) = VT_I4; V_I4(&value_) = value; }
  Var(long value) : Var(static_cast<int>(value)) {}
  Var(short value) : Var() { V_VT(&value_) = VT_I2; V_I2(&value_) = value; }
  Var(double value) : Var() { V_VT(&value_) = VT_R8; V_R8(&value_) = value; }
  Var(bool value) : Var() { V_VT(&value_) = VT_BOOL; V_BOOL(&value_) = value ? VARIANT_TRUE : VARIANT_FALSE; }
  Var(const wchar_t* text) : Var() { V_VT(&value_) = VT_BSTR; V_BSTR(&value_) = ::SysAllocString(text); }
  Var(const std::wstring& text) : Var(text.c_str()) {}
  explicit Var(IDispatch* object) : Var() {  // AddRefs
    V_VT(&value_) = VT_DISPATCH;
    V_DISPATCH(&value_) = object;
    if (object != nullptr) object->AddRef();
  }
  static Var Date(double serial) { Var v; V_VT(&v.value_) = VT_DATE; V_DATE(&v.value_) = serial; return v; }
  static Var Missing() { Var v; V_VT(&v.value_) = VT_ERROR; V_ERROR(&v.value_) = DISP_E_PARAMNOTFOUND; return v; }
  ~Var() { ::VariantClear(&value_); }
  Var(const Var& other) : Var() { ::VariantCopy(&value_, const_cast<VARIANT*>(&other.value_)); }
  Var& operator=(const Var& other) {
    if (this != &other) ::VariantCopy(&value_, const_cast<VARIANT*>(&other.value_));
    return *this;
  }
  Var(Var&& other) noexcept : value_(other.value_) { ::VariantInit(&other.value_); }

  VARIANT* get() { return &value_; }
  const VARIANT* get() const { return &value_; }
  VARTYPE type() const { return V_VT(&value_); }
  // The value converted (as automation converts); throws nothing, answers a
  // default when it cannot.
  std::wstring Text() const;
  long Long() const;
  double Double() const;
  bool Bool() const;
  IDispatch* Object() const { return type() == VT_DISPATCH ? V_DISPATCH(&value_) : nullptr; }

 private:
  VARIANT value_;
};

// What one call answered.
struct Result {
  HRESULT hr = S_OK;
  Var value;
  SCODE scode = 0;            // of the exception, when hr is DISP_E_EXCEPTION
  std::wstring description;   // of the exception
  UINT bad_argument = 0;
  // The host language's error number: the exception's code without its
  // facility (5, 9, 457, ...).
  long ErrorNumber() const { return scode & 0xFFFF; }
};

// An automation object held by its IDispatch.
class Obj {
 public:
  Obj() = default;
  explicit Obj(IDispatch* dispatch);  // AddRefs
  ~Obj();
  Obj(const Obj& other) : Obj(other.dispatch_) {}
  Obj& operator=(const Obj& other);
  Obj(Obj&& other) noexcept : dispatch_(std::exchange(other.dispatch_, nullptr)) {}

  // CoCreateInstance by ProgID; the HRESULT in `hr` when given.
  static Obj Create(const wchar_t* prog_id, HRESULT* hr = nullptr);

  IDispatch* get() const { return dispatch_; }
  explicit operator bool() const { return dispatch_ != nullptr; }

  // The dispatch id of `name` (DISPID_UNKNOWN when GetIDsOfNames fails).
  DISPID Id(const wchar_t* name, HRESULT* hr = nullptr) const;
  // Calls member `name` (or `id`) with `flags` and the arguments in their
  // written order; a property put passes its value last.
  Result Invoke(const wchar_t* name, WORD flags, std::initializer_list<Var> args = {}) const;
  Result InvokeId(DISPID id, WORD flags, std::initializer_list<Var> args = {}) const;
  // Calls with the arguments as given (already in reverse order, by
  // reference where wanted).
  Result InvokeRaw(DISPID id, WORD flags, VARIANTARG* reversed, UINT count) const;

  Var Get(const wchar_t* name, std::initializer_list<Var> args = {}) const;
  Obj GetObj(const wchar_t* name, std::initializer_list<Var> args = {}) const;
  HRESULT Put(const wchar_t* name, Var value) const;
  HRESULT PutRef(const wchar_t* name, Var value) const;
  Result Call(const wchar_t* name, std::initializer_list<Var> args = {}) const;

 private:
  IDispatch* dispatch_ = nullptr;
};

// Walks a collection as For Each does: its DISPID_NEWENUM, then
// IEnumVARIANT::Next one by one.
std::vector<Obj> ForEach(const Obj& collection, HRESULT* hr = nullptr);

// The full Windows path of a file given by its Linux path in the build.
std::wstring WindowsPath(const char* path);

}  // namespace kdzv::host

#endif  // KDZV_TESTS_COM_HOST_AUTOMATION_CLIENT_H_
