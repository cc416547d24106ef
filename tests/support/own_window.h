// The top-level window of a class that belongs to this process, for the
// Windows tests. FindWindowW searches the whole desktop: while the tests run
// side by side under one Wine server, it finds another test process's sync
// window or settings dialog just as well (a question open in it, about to
// close on its own), and a test that presses a button there cancels the
// other test's exchange.
#ifndef KDZV_TESTS_SUPPORT_OWN_WINDOW_H_
#define KDZV_TESTS_SUPPORT_OWN_WINDOW_H_

#include <windows.h>

namespace kdzv::test {

namespace own_window_detail {

struct Search {
  const wchar_t* class_name;
  HWND found;
};

inline BOOL CALLBACK Visit(HWND window, LPARAM lparam) {
  auto* search = reinterpret_cast<Search*>(lparam);
  DWORD process = 0;
  ::GetWindowThreadProcessId(window, &process);
  if (process != ::GetCurrentProcessId()) return TRUE;
  wchar_t class_name[128] = {};
  if (::GetClassNameW(window, class_name, 128) == 0) return TRUE;
  if (::lstrcmpiW(class_name, search->class_name) != 0) return TRUE;
  search->found = window;
  return FALSE;
}

}  // namespace own_window_detail

// The first such window in z-order (as FindWindowW answers), or null.
inline HWND FindOwnWindow(const wchar_t* class_name) {
  own_window_detail::Search search{class_name, nullptr};
  ::EnumWindows(own_window_detail::Visit, reinterpret_cast<LPARAM>(&search));
  return search.found;
}

}  // namespace kdzv::test

#endif  // KDZV_TESTS_SUPPORT_OWN_WINDOW_H_
