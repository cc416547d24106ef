// Hostile inputs: each case makes an input of a given size, lets the
// component take it once, and states the ceiling its cost must stay under.
// The program (hostile_bench, run by the test command) measures every case
// at each of its sizes with Google Benchmark and fails when a ceiling is
// broken:
//   - time: the time per input byte at the largest size may be at most
//     `max_growth` times the time per byte at the smallest size (a linear
//     cost keeps it near 1; a quadratic one grows with the size), and the
//     largest size must finish within `max_seconds`;
//   - memory: the peak heap of one run (C++ allocations and libxml2's) may
//     be at most `heap_per_byte` times the input's size plus `heap_allowance`.
//
// A case file registers its cases at start-up:
//
//   KDZV_HOSTILE_CASE(IniJunkKeys) {
//     return {"ini/junk-keys", {2'000, 16'000}, {...ceiling...},
//             [](int64_t n, size_t& bytes) { ...make input...; return run; }};
//   }
#ifndef KDZV_BENCH_HOSTILE_HOSTILE_H_
#define KDZV_BENCH_HOSTILE_HOSTILE_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace kdzv::hostile {

struct Ceiling {
  double max_seconds = 2.0;
  double max_growth = 3.0;
  double heap_per_byte = 16.0;
  size_t heap_allowance = 1 << 20;
};

// Takes the input once. Called repeatedly on the same prepared input.
using Run = std::function<void()>;
// Makes the input for `size` (not measured), sets `input_bytes` to its size
// in bytes and answers the run that takes it.
using Prepare = std::function<Run(int64_t size, size_t& input_bytes)>;

struct Case {
  std::string name;
  std::vector<int64_t> sizes;  // ascending
  Ceiling ceiling;
  Prepare prepare;
};

// Adds a case; answers a value for a static initialiser.
int Register(Case hostile_case);

}  // namespace kdzv::hostile

#define KDZV_HOSTILE_CASE(ident)                                                  \
  static ::kdzv::hostile::Case ident##_Make();                                   \
  [[maybe_unused]] static const int ident##_registered =                         \
      ::kdzv::hostile::Register(ident##_Make());                                 \
  static ::kdzv::hostile::Case ident##_Make()

#endif  // KDZV_BENCH_HOSTILE_HOSTILE_H_
