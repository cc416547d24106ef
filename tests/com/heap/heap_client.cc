#include "heap_client.h"

#include <cstdio>

namespace kdzv::host {

TestHeap::TestHeap(HMODULE module) {
  if (module == nullptr) return;
  state_ = reinterpret_cast<StateFunction>(
      reinterpret_cast<void*>(::GetProcAddress(module, "KdzvTestHeapState")));
  fail_after_ = reinterpret_cast<FailFunction>(
      reinterpret_cast<void*>(::GetProcAddress(module, "KdzvTestHeapFailAfter")));
}

HeapState TestHeap::State() const {
  HeapState state;
  if (state_ != nullptr) state_(&state);
  return state;
}

std::string TestHeap::FailureFrames() const {
  const HeapState state = State();
  std::string text;
  for (uint64_t frame : state.failure_frames) {
    if (frame == 0) break;
    char one[32];
    if (frame >= state.module_base && frame - state.module_base < 0x10000000) {
      std::snprintf(one, sizeof(one), " +0x%llx",
                    static_cast<unsigned long long>(frame - state.module_base));
    } else {
      std::snprintf(one, sizeof(one), " (0x%llx)", static_cast<unsigned long long>(frame));
    }
    text += one;
  }
  return text;
}

void TestHeap::FailAfter(long n) const {
  if (fail_after_ != nullptr) fail_after_(static_cast<LONG>(n));
}

}  // namespace kdzv::host
