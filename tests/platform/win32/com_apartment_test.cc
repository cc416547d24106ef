#include "platform/win32/com_apartment.h"

#include <gtest/gtest.h>
#include <objbase.h>
#include <windows.h>

#include <thread>

namespace kdzv::win32 {
namespace {

// The answer of CoInitializeEx for a single-threaded apartment on the
// calling thread, undone at once when it succeeded.
HRESULT ProbeApartment() {
  const HRESULT result = ::CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  if (SUCCEEDED(result)) ::CoUninitialize();
  return result;
}

TEST(ComApartmentTest, InitialisesAndUndoesOnAFreshThread) {
  HRESULT inside = E_FAIL;
  HRESULT after = E_FAIL;
  bool ready = false;
  std::thread([&] {
    {
      ComApartment apartment;
      ready = apartment.ready();
      inside = ProbeApartment();
    }
    after = ProbeApartment();
  }).join();
  EXPECT_TRUE(ready);
  EXPECT_EQ(inside, S_FALSE);
  EXPECT_EQ(after, S_OK);
}

TEST(ComApartmentTest, LeavesTheMultithreadedApartmentAlone) {
  HRESULT inside = S_OK;
  HRESULT after = S_OK;
  bool ready = false;
  std::thread([&] {
    if (FAILED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED))) return;
    {
      ComApartment apartment;
      ready = apartment.ready();
      inside = ProbeApartment();
    }
    after = ProbeApartment();
    ::CoUninitialize();
  }).join();
  EXPECT_TRUE(ready);
  EXPECT_EQ(inside, RPC_E_CHANGED_MODE);
  EXPECT_EQ(after, RPC_E_CHANGED_MODE);
}

}  // namespace
}  // namespace kdzv::win32
