// The allocation hook of the test build of the library
// (kdZentavo_testheap.dll, never shipped): it counts the library's live heap
// and can make one allocation fail on request.
//
// What is counted: every operator new and delete of the library (all
// forms: plain, array, nothrow, sized, aligned), which this file replaces
// for the whole DLL (the runtime's own operators, linked statically, are then
// never pulled in); and malloc, calloc, realloc and free as called by any
// code linked into the DLL - our sources, the static C++ runtime (exception
// objects, locales), libgcc and winpthreads, the mingw start-up code - since
// the DLL is linked with -Wl,--wrap for those four names, which sends every
// such call through the __wrap_ functions below.
//
// What is not counted: memory that the C runtime DLL (msvcrt) allocates
// inside its own functions (_strdup, _wcsdup, stream buffers, _aligned_*
// called directly), and everything the system allocates for us: BSTRs
// (SysAllocString and its cache), CoTaskMemAlloc, HeapAlloc/LocalAlloc,
// windows, GDI objects, the type library loaded by oleaut32, MSXML's
// documents. A block allocated elsewhere and freed here is recognised as not
// ours and passed on uncounted.
//
// Which allocations may fail: every operator new, and every malloc, calloc
// and realloc except those of a few runtime functions (they are still
// counted; known by the addresses of the innermost callers, x86_64 only,
// the build whose tests run):
//   - two that cannot take a failure and would end the process whatever our
//     code does: libgcc's emulated thread-local storage
//     (__emutls_get_address, which calls abort()) and winpthreads'
//     pthread_once (which uses the block without a check; the C++ runtime
//     reaches it for the guard of a function's static object);
//   - the C++ runtime's exception objects (__cxa_allocate_exception): when
//     malloc fails they come from the runtime's emergency pool, whose lock
//     winpthreads makes on first use and keeps, a block that would read as
//     a leak of ours; the exception thrown is the same.
//
// Each block of ours is recorded (address and size) in a fixed table of its
// own (VirtualAlloc, outside the heap it watches), so a free knows whether
// and how much to count down.
//
// Two exports for the test host (besides the library's own four):
//   KdzvTestHeapState(HeapState*)          the counters below, and where
//                                          the last failure came;
//   KdzvTestHeapFailAfter(n)               the nth allocation from now fails
//                                          (operator new throws
//                                          std::bad_alloc, the nothrow forms
//                                          and malloc answer null); 0 disarms.
#include <malloc.h>
#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <new>

extern "C" {
void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __real_realloc(void* block, size_t size);
void __real_free(void* block);
}

namespace {

// What the test host reads; the same layout is declared on its side.
struct HeapState {
  int64_t live_count;       // blocks of ours not yet freed
  int64_t live_bytes;       // their sizes, as asked for
  int64_t allocations;      // allocations asked for since the library was loaded
  int32_t failure_pending;  // an armed failure has not come yet
  int32_t failures;         // failures delivered since the library was loaded
  int64_t untracked;        // blocks not recorded because the table was full
  // Where the last failure was delivered: the return addresses of the
  // calls that led to it (innermost first), and this DLL's base address,
  // so that they can be looked up in its symbols.
  uint64_t module_base;
  uint64_t failure_frames[16];
};

constexpr size_t kSlotBits = 18;
constexpr size_t kSlots = size_t{1} << kSlotBits;  // 4 MiB of table on x86_64
constexpr size_t kMaxUsed = kSlots / 4 * 3;

struct Slot {
  void* block;
  size_t size;
};

SRWLOCK g_lock = SRWLOCK_INIT;
Slot* g_slots = nullptr;
size_t g_used = 0;
HeapState g_state = {};
int64_t g_countdown = 0;

class Locked {
 public:
  Locked() { ::AcquireSRWLockExclusive(&g_lock); }
  ~Locked() { ::ReleaseSRWLockExclusive(&g_lock); }
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;
};

size_t Home(const void* block) {
  const uint64_t key = reinterpret_cast<uintptr_t>(block) >> 4;
  return static_cast<size_t>((key * 0x9E3779B97F4A7C15ull) >> (64 - kSlotBits));
}

#if defined(_WIN64)
// The runtime functions named above, by their linker symbols.
extern "C" char g_pthread_once_code[] __asm__("pthread_once");
extern "C" char g_emutls_code[] __asm__("__emutls_get_address");
extern "C" char g_exception_code[] __asm__("__cxa_allocate_exception");
extern "C" char g_dependent_exception_code[] __asm__("__cxa_allocate_dependent_exception");

// Whether the allocation being made was asked for by one of the runtime
// functions above, directly or through a helper of theirs (the dozen
// innermost calls are looked at: the emulated thread-local storage reaches
// the allocation through the threads library's key and lock set-up).
bool AskedByTheRuntimeItself() {
  void* frames[12] = {};
  const WORD count = ::RtlCaptureStackBackTrace(1, 12, frames, nullptr);
  for (WORD i = 0; i < count; ++i) {
    DWORD64 base = 0;
    const RUNTIME_FUNCTION* function =
        ::RtlLookupFunctionEntry(reinterpret_cast<DWORD64>(frames[i]), &base, nullptr);
    if (function == nullptr) continue;
    const uintptr_t start = static_cast<uintptr_t>(base + function->BeginAddress);
    for (const char* code : {g_pthread_once_code, g_emutls_code, g_exception_code,
                             g_dependent_exception_code}) {
      if (start == reinterpret_cast<uintptr_t>(code)) return true;
    }
  }
  return false;
}
#else
bool AskedByTheRuntimeItself() { return false; }
#endif

// Under the lock: whether this allocation is the one to fail. An armed
// failure skips the allocations that may not fail and comes with the next.
bool CountOneAndFail(bool from_the_c_runtime = false) {
  ++g_state.allocations;
  if (g_countdown == 1 && from_the_c_runtime && AskedByTheRuntimeItself()) {
    return false;
  }
  if (g_countdown > 0 && --g_countdown == 0) {
    g_state.failure_pending = 0;
    ++g_state.failures;
    void* frames[16] = {};
    ::RtlCaptureStackBackTrace(1, 16, frames, nullptr);
    for (int i = 0; i < 16; ++i) g_state.failure_frames[i] = reinterpret_cast<uintptr_t>(frames[i]);
    return true;
  }
  return false;
}

// Under the lock.
void Record(void* block, size_t size) {
  if (g_slots == nullptr) {
    g_slots = static_cast<Slot*>(
        ::VirtualAlloc(nullptr, kSlots * sizeof(Slot), MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
  }
  if (g_slots == nullptr || g_used >= kMaxUsed) {
    ++g_state.untracked;
    return;
  }
  size_t i = Home(block);
  while (g_slots[i].block != nullptr && g_slots[i].block != block) i = (i + 1) & (kSlots - 1);
  if (g_slots[i].block == block) {
    // Freed behind our back (by the C runtime itself) and handed out again.
    g_state.live_bytes -= static_cast<int64_t>(g_slots[i].size);
    --g_state.live_count;
    --g_used;
  }
  g_slots[i] = {block, size};
  ++g_used;
  ++g_state.live_count;
  g_state.live_bytes += static_cast<int64_t>(size);
}

// Under the lock: forgets `block` if it is ours (linear probing, removal
// by moving the later members of its run back).
void Forget(void* block) {
  if (g_slots == nullptr || block == nullptr) return;
  size_t i = Home(block);
  while (g_slots[i].block != nullptr && g_slots[i].block != block) i = (i + 1) & (kSlots - 1);
  if (g_slots[i].block == nullptr) return;  // not ours
  --g_state.live_count;
  g_state.live_bytes -= static_cast<int64_t>(g_slots[i].size);
  --g_used;
  size_t hole = i;
  for (size_t j = (i + 1) & (kSlots - 1); g_slots[j].block != nullptr; j = (j + 1) & (kSlots - 1)) {
    const size_t home = Home(g_slots[j].block);
    // Move j into the hole unless its home lies cyclically in (hole, j].
    const bool stays = hole <= j ? (hole < home && home <= j) : (hole < home || home <= j);
    if (!stays) {
      g_slots[hole] = g_slots[j];
      hole = j;
    }
  }
  g_slots[hole] = {nullptr, 0};
}

// The table goes with the library.
struct TableOwner {
  ~TableOwner() {
    Locked lock;
    if (g_slots != nullptr) {
      Slot* slots = g_slots;
      g_slots = nullptr;
      ::VirtualFree(slots, 0, MEM_RELEASE);
    }
  }
} g_table_owner;

enum class Kind { kPlain, kAligned };

void* Allocate(size_t size, Kind kind, size_t alignment) {
  {
    Locked lock;
    if (CountOneAndFail()) return nullptr;
  }
  const size_t asked = size == 0 ? 1 : size;
  void* block = kind == Kind::kAligned ? ::_aligned_malloc(asked, alignment) : __real_malloc(asked);
  if (block != nullptr) {
    Locked lock;
    Record(block, size);
  }
  return block;
}

void Release(void* block, Kind kind) {
  if (block == nullptr) return;
  {
    Locked lock;
    Forget(block);
  }
  if (kind == Kind::kAligned) {
    ::_aligned_free(block);
  } else {
    __real_free(block);
  }
}

void* NewOrThrow(size_t size, Kind kind = Kind::kPlain, size_t alignment = 0) {
  void* block = Allocate(size, kind, alignment);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

}  // namespace

// --- The C runtime's allocation functions, as the DLL's code calls them ---

extern "C" void* __wrap_malloc(size_t size) {
  {
    Locked lock;
    if (CountOneAndFail(true)) return nullptr;
  }
  void* block = __real_malloc(size);
  if (block != nullptr) {
    Locked lock;
    Record(block, size);
  }
  return block;
}

extern "C" void* __wrap_calloc(size_t count, size_t size) {
  {
    Locked lock;
    if (CountOneAndFail(true)) return nullptr;
  }
  void* block = __real_calloc(count, size);
  if (block != nullptr) {
    Locked lock;
    Record(block, count * size);
  }
  return block;
}

extern "C" void* __wrap_realloc(void* block, size_t size) {
  if (block == nullptr) return __wrap_malloc(size);
  if (size == 0) {
    {
      Locked lock;
      Forget(block);
    }
    return __real_realloc(block, 0);
  }
  {
    Locked lock;
    if (CountOneAndFail(true)) return nullptr;  // the block stays
  }
  // Forgotten before the call: once realloc returns, the old address may
  // already belong to another thread's new block.
  size_t old_size = 0;
  bool ours = false;
  {
    Locked lock;
    if (g_slots != nullptr) {
      size_t i = Home(block);
      while (g_slots[i].block != nullptr && g_slots[i].block != block) i = (i + 1) & (kSlots - 1);
      ours = g_slots[i].block == block;
      old_size = g_slots[i].size;
    }
    Forget(block);
  }
  void* moved = __real_realloc(block, size);
  Locked lock;
  if (moved != nullptr) {
    Record(moved, size);
  } else if (ours) {
    Record(block, old_size);  // failed: the old block is still there
  }
  return moved;
}

extern "C" void __wrap_free(void* block) { Release(block, Kind::kPlain); }

// --- operator new and delete, every form ---

void* operator new(size_t size) { return NewOrThrow(size); }
void* operator new[](size_t size) { return NewOrThrow(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size, Kind::kPlain, 0);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
  return Allocate(size, Kind::kPlain, 0);
}
void* operator new(size_t size, std::align_val_t alignment) {
  return NewOrThrow(size, Kind::kAligned, static_cast<size_t>(alignment));
}
void* operator new[](size_t size, std::align_val_t alignment) {
  return NewOrThrow(size, Kind::kAligned, static_cast<size_t>(alignment));
}
void* operator new(size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return Allocate(size, Kind::kAligned, static_cast<size_t>(alignment));
}
void* operator new[](size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return Allocate(size, Kind::kAligned, static_cast<size_t>(alignment));
}

void operator delete(void* block) noexcept { Release(block, Kind::kPlain); }
void operator delete[](void* block) noexcept { Release(block, Kind::kPlain); }
void operator delete(void* block, size_t) noexcept { Release(block, Kind::kPlain); }
void operator delete[](void* block, size_t) noexcept { Release(block, Kind::kPlain); }
void operator delete(void* block, const std::nothrow_t&) noexcept { Release(block, Kind::kPlain); }
void operator delete[](void* block, const std::nothrow_t&) noexcept {
  Release(block, Kind::kPlain);
}
void operator delete(void* block, std::align_val_t) noexcept { Release(block, Kind::kAligned); }
void operator delete[](void* block, std::align_val_t) noexcept { Release(block, Kind::kAligned); }
void operator delete(void* block, size_t, std::align_val_t) noexcept {
  Release(block, Kind::kAligned);
}
void operator delete[](void* block, size_t, std::align_val_t) noexcept {
  Release(block, Kind::kAligned);
}
void operator delete(void* block, std::align_val_t, const std::nothrow_t&) noexcept {
  Release(block, Kind::kAligned);
}
void operator delete[](void* block, std::align_val_t, const std::nothrow_t&) noexcept {
  Release(block, Kind::kAligned);
}

// --- The test host's two entry points ---

extern "C" void STDAPICALLTYPE KdzvTestHeapState(HeapState* out) {
  if (out == nullptr) return;
  Locked lock;
  *out = g_state;
  HMODULE self = nullptr;
  ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                           GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&KdzvTestHeapState), &self);
  out->module_base = reinterpret_cast<uintptr_t>(self);
}

extern "C" void STDAPICALLTYPE KdzvTestHeapFailAfter(LONG n) {
  Locked lock;
  g_countdown = n > 0 ? n : 0;
  g_state.failure_pending = n > 0 ? 1 : 0;
}
