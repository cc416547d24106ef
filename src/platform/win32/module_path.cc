// Where the component's binary lies on Windows: the module (the DLL, or the
// executable it is linked into) that holds this code.
#include <windows.h>

#include <string>

#include "platform/platform.h"
#include "platform/win32/wide_text.h"

namespace kdzv {
namespace {

void Anchor() {}

}  // namespace

std::string ComponentModulePath() {
  HMODULE module = nullptr;
  if (!::GetModuleHandleExW(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          reinterpret_cast<LPCWSTR>(&Anchor), &module)) {
    return {};
  }
  std::wstring buffer(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length =
        ::GetModuleFileNameW(module, buffer.data(), static_cast<DWORD>(buffer.size()));
    if (length == 0) return {};
    if (length < buffer.size()) {
      buffer.resize(length);
      return win32::Narrow(buffer);
    }
    buffer.resize(buffer.size() * 2);  // truncated: try a larger buffer
  }
}

char PathSeparator() { return '\\'; }

}  // namespace kdzv
