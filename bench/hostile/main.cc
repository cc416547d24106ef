// hostile_bench: every hostile-input case at each of its sizes, measured with
// Google Benchmark; then each case is checked against its ceiling (see
// hostile.h). Exit status 0 when every case kept to its ceiling, 1 otherwise.
//   build/linux/bench/hostile_bench [--benchmark_filter=REGEX]
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "bench_support.h"
#include "hostile/hostile.h"

namespace kdzv::hostile {

namespace {

std::vector<Case>& Cases() {
  static std::vector<Case> cases;
  return cases;
}

// What one size of one case measured.
struct Measured {
  int64_t size = 0;
  double bytes = 0;
  double seconds = 0;  // per run
  double peak_heap = 0;
};

// Keeps every run's counters beside the usual console table.
class Collector : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      const auto counter = [&run](const char* name) {
        const auto found = run.counters.find(name);
        return found == run.counters.end() ? 0.0 : found->second.value;
      };
      Measured m;
      m.size = static_cast<int64_t>(counter("size"));
      m.bytes = counter("bytes");
      m.seconds = counter("seconds");
      m.peak_heap = counter("peak_heap");
      results[run.run_name.function_name].push_back(m);
    }
  }
  std::map<std::string, std::vector<Measured>> results;
};

void Measure(benchmark::State& state, const Case& hostile_case) {
  const int64_t size = state.range(0);
  size_t bytes = 0;
  const Run run = hostile_case.prepare(size, bytes);
  double seconds = 0;
  size_t peak = 0;
  int64_t runs = 0;
  for (auto _ : state) {
    const size_t before = bench::HeapInUse();
    bench::ResetPeak();
    const auto start = std::chrono::steady_clock::now();
    run();
    seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    peak = std::max(peak, bench::HeapPeak() - before);
    ++runs;
  }
  state.counters["size"] = static_cast<double>(size);
  state.counters["bytes"] = static_cast<double>(bytes);
  state.counters["seconds"] = runs == 0 ? 0 : seconds / static_cast<double>(runs);
  state.counters["peak_heap"] = static_cast<double>(peak);
}

// Checks one case; prints its verdict and answers whether it held.
bool Check(const Case& hostile_case, std::vector<Measured> measured) {
  std::sort(measured.begin(), measured.end(),
            [](const Measured& a, const Measured& b) { return a.size < b.size; });
  if (measured.empty()) return true;  // filtered out
  const Ceiling& c = hostile_case.ceiling;
  bool held = true;
  std::string why;
  const Measured& small = measured.front();
  const Measured& large = measured.back();
  const double growth = (large.seconds / std::max(large.bytes, 1.0)) /
                        std::max(small.seconds / std::max(small.bytes, 1.0), 1e-15);
  if (measured.size() > 1 && growth > c.max_growth) {
    held = false;
    why += " time per byte grew " + std::to_string(growth) + "x (at most " +
           std::to_string(c.max_growth) + "x);";
  }
  if (large.seconds > c.max_seconds) {
    held = false;
    why += " took " + std::to_string(large.seconds) + " s (at most " +
           std::to_string(c.max_seconds) + " s);";
  }
  for (const Measured& m : measured) {
    const double allowed = c.heap_per_byte * m.bytes + static_cast<double>(c.heap_allowance);
    if (m.peak_heap > allowed) {
      held = false;
      why += " peak heap " + std::to_string(static_cast<long long>(m.peak_heap)) +
             " bytes at size " + std::to_string(m.size) + " (at most " +
             std::to_string(static_cast<long long>(allowed)) + ");";
    }
  }
  std::printf("%-44s %s  largest: %.0f bytes in %.4f s, peak heap %.1f MB (%.2fx); growth %.2fx%s\n",
              hostile_case.name.c_str(), held ? "held  " : "BROKEN", large.bytes, large.seconds,
              large.peak_heap / 1e6, large.peak_heap / std::max(large.bytes, 1.0), growth,
              why.c_str());
  return held;
}

}  // namespace

int Register(Case hostile_case) {
  Cases().push_back(std::move(hostile_case));
  return static_cast<int>(Cases().size());
}

}  // namespace kdzv::hostile

int main(int argc, char** argv) {
  using namespace kdzv::hostile;
  kdzv::bench::InstallLibxml2Accounting();
  for (const Case& hostile_case : Cases()) {
    auto* bench = benchmark::RegisterBenchmark(
        hostile_case.name.c_str(),
        [&hostile_case](benchmark::State& state) { Measure(state, hostile_case); });
    for (const int64_t size : hostile_case.sizes) bench->Arg(size);
    bench->Unit(benchmark::kMillisecond)->MinTime(0.05);
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  std::printf("\n== Ceilings\n");
  bool all_held = true;
  for (const Case& hostile_case : Cases()) {
    all_held = Check(hostile_case, collector.results[hostile_case.name]) && all_held;
  }
  std::printf("== %s\n", all_held ? "Every hostile input kept to its ceiling"
                                   : "A hostile input broke its ceiling");
  benchmark::Shutdown();
  return all_held ? 0 : 1;
}
