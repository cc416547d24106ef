// Conversions between the automation types at the library's boundary and
// the core's values, and the two ways a member ends when the core fails.
#ifndef KDZV_COM_AUTOMATION_VALUES_H_
#define KDZV_COM_AUTOMATION_VALUES_H_

#include <oaidl.h>
#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "interface/error_report.h"
#include "util/date_time.h"
#include "util/error.h"
#include "util/keyed_collection.h"

namespace kdzv::com {

// BSTR (UTF-16) <-> the core's UTF-8 text. A null BSTR is the empty text.
std::string TextOf(BSTR text);
// A new BSTR for `text` into *out; E_OUTOFMEMORY when it cannot be made.
HRESULT PutText(std::string_view text, BSTR* out) noexcept;

inline VARIANT_BOOL BoolOf(bool value) { return value ? VARIANT_TRUE : VARIANT_FALSE; }
inline bool BoolOf(VARIANT_BOOL value) { return value != VARIANT_FALSE; }
inline DATE DateOf(DateTime value) { return value.serial(); }
inline DateTime DateOf(DATE value) { return DateTime::FromSerial(value); }

// An optional argument left out by the caller.
bool IsMissing(const VARIANT& value);

// `vntIndexKey` of a collection: a text is a key, anything that converts to
// a number is a position; other values raise 5, as the keyed list does.
IndexOrKey IndexOrKeyOf(const VARIANT& value);
// An optional key argument: missing is no key; otherwise it is converted to
// text. Nothing when it cannot be (the caller answers DISP_E_TYPEMISMATCH).
std::optional<std::string> OptionalKeyOf(const VARIANT& value);

// Sets the error object for one of the keyed list's errors (5, 9, 457) and
// answers its HRESULT (the classic 0x800A0000 + number).
HRESULT CollectionError(const ErrorInfo& error) noexcept;

// Runs `body` (which answers an HRESULT). A failure of the core is handed
// to the error report under `module` and `procedure` and does not reach the
// caller (S_OK). No exception leaves.
template <class Body>
HRESULT Guarded(std::string_view module, std::string_view procedure, Body&& body) noexcept {
  return ReportedCall(module, procedure, HRESULT{S_OK}, std::forward<Body>(body));
}

// The same for the members of a collection: its own errors 5, 9 and 457
// reach the caller as automation exceptions; everything else is reported.
template <class Body>
HRESULT GuardedCollection(std::string_view module, std::string_view procedure,
                          Body&& body) noexcept {
  try {
    return body();
  } catch (const Error& error) {
    if (error.number() == err::kInvalidCall || error.number() == err::kSubscriptOutOfRange ||
        error.number() == err::kDuplicateKey) {
      return CollectionError(error.info());
    }
    try {
      ReportError(error.info(), module, procedure, "");
    } catch (...) {
    }
    return S_OK;
  } catch (...) {
    try {
      ReportCurrentError(module, procedure, "");
    } catch (...) {
    }
    return S_OK;
  }
}

}  // namespace kdzv::com

#endif  // KDZV_COM_AUTOMATION_VALUES_H_
