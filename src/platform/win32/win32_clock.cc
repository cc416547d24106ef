#include "platform/win32/win32_clock.h"

#include <windows.h>

#include <cstdint>

#include "platform/win32/wide_text.h"

namespace kdzv::win32 {
namespace {

SYSTEMTIME ToSystemTime(DateTime value) {
  const DateTime::Fields f = value.Split();
  // Day 1 (31 December 1899) was a Sunday, which Windows counts as 0.
  const auto day_number = static_cast<int64_t>(DateTime::FromDate(f.year, f.month, f.day).serial());
  const int64_t day_of_week = ((day_number - 1) % 7 + 7) % 7;
  SYSTEMTIME st{};
  st.wYear = static_cast<WORD>(f.year);
  st.wMonth = static_cast<WORD>(f.month);
  st.wDayOfWeek = static_cast<WORD>(day_of_week);
  st.wDay = static_cast<WORD>(f.day);
  st.wHour = static_cast<WORD>(f.hour);
  st.wMinute = static_cast<WORD>(f.minute);
  st.wSecond = static_cast<WORD>(f.second);
  return st;
}

// Calls a GetDateFormatW/GetTimeFormatW-shaped function twice (size, text);
// "" when it fails.
template <typename Formatter>
std::string FormatWith(Formatter format) {
  const int needed = format(nullptr, 0);
  if (needed <= 0) return {};
  std::wstring text(static_cast<size_t>(needed), L'\0');
  const int written = format(text.data(), needed);
  if (written <= 0) return {};
  text.resize(static_cast<size_t>(written - 1));  // without the terminating zero
  return Narrow(text);
}

}  // namespace

DateTime Win32Clock::Now() {
  SYSTEMTIME st{};
  ::GetLocalTime(&st);
  return DateTime::FromFields({st.wYear, st.wMonth, st.wDay, st.wHour, st.wMinute, st.wSecond});
}

std::string Win32Clock::ShortDate(DateTime value) {
  const SYSTEMTIME st = ToSystemTime(value);
  std::string text = FormatWith([&st](LPWSTR buffer, int size) {
    return ::GetDateFormatW(LOCALE_USER_DEFAULT, DATE_SHORTDATE, &st, nullptr, buffer, size);
  });
  return text.empty() ? value.Format("dd.mm.yyyy") : text;
}

std::string Win32Clock::LongTime(DateTime value) {
  const SYSTEMTIME st = ToSystemTime(value);
  std::string text = FormatWith([&st](LPWSTR buffer, int size) {
    return ::GetTimeFormatW(LOCALE_USER_DEFAULT, 0, &st, nullptr, buffer, size);
  });
  return text.empty() ? value.Format("hh:nn:ss") : text;
}

}  // namespace kdzv::win32
