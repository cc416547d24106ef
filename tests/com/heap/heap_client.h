// The test host's side of the instrumented library (kdZentavo_testheap.dll,
// see test_heap.cc): its live heap and its failing allocation, through the
// two extra entry points that only that build exports.
#ifndef KDZV_TESTS_COM_HEAP_HEAP_CLIENT_H_
#define KDZV_TESTS_COM_HEAP_HEAP_CLIENT_H_

#include <windows.h>

#include <cstdint>
#include <string>

namespace kdzv::host {

// As test_heap.cc fills it.
struct HeapState {
  int64_t live_count = 0;       // blocks of the library not yet freed
  int64_t live_bytes = 0;       // their sizes
  int64_t allocations = 0;      // allocations asked for since it was loaded
  int32_t failure_pending = 0;  // an armed failure has not come yet
  int32_t failures = 0;         // failures delivered since it was loaded
  int64_t untracked = 0;        // blocks the table had no room for
  uint64_t module_base = 0;     // the library's base address
  uint64_t failure_frames[16] = {};  // return addresses where the last failure came
};

class TestHeap {
 public:
  // The entry points of `module`; ok() is false for a library without them.
  explicit TestHeap(HMODULE module);
  bool ok() const { return state_ != nullptr && fail_after_ != nullptr; }

  HeapState State() const;
  // Where the last failure came, as offsets into the library ("+0x1a2b"
  // each), to look up with addr2line -e kdZentavo_testheap.dll after adding
  // the image base.
  std::string FailureFrames() const;
  // The `n`th allocation from now fails; 0 disarms.
  void FailAfter(long n) const;

 private:
  using StateFunction = void(STDAPICALLTYPE*)(HeapState*);
  using FailFunction = void(STDAPICALLTYPE*)(LONG);
  StateFunction state_ = nullptr;
  FailFunction fail_after_ = nullptr;
};

}  // namespace kdzv::host

#endif  // KDZV_TESTS_COM_HEAP_HEAP_CLIENT_H_
