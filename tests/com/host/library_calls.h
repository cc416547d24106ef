// Calls of the interface object's members that take arguments by
// reference, as a host written in a late-binding language makes them.
#ifndef KDZV_TESTS_COM_HOST_LIBRARY_CALLS_H_
#define KDZV_TESTS_COM_HOST_LIBRARY_CALLS_H_

#include <oaidl.h>

#include <string>

#include "automation_client.h"

namespace kdzv::host {

// An optional argument left out.
VARIANTARG MissingArgument();

// StartSync(mOwner, sErr): `owner` as given (MissingArgument() for none);
// the text that sErr brings back into `error_text` when given.
Result CallStartSync(const Obj& zv, VARIANTARG owner, std::wstring* error_text = nullptr);

}  // namespace kdzv::host

#endif  // KDZV_TESTS_COM_HOST_LIBRARY_CALLS_H_
