// Reading and writing messages of 1 000, 4 000, 8 000 and 100 000
// appointments (and an element-dense message of 100 000), beside raw parses
// of the same files by libxml2 alone:
//   - its SAX2 parser without handlers, fed the file in the same chunks as
//     the reader: the ceiling of any reader built on it;
//   - the same parser with empty element and text handlers: what taking the
//     events costs before a reader does anything with them;
//   - its DOM.
//
//   message_bench                      all benchmarks, then a summary
//   message_bench --benchmark_filter=Read
//
// Reading is timed from the file to the received message's items; letting
// the items go afterwards is timed on its own (the intake lets each
// appointment go once its event is over, so it never pays this at once).
//
// The summary gives MB/s (reading: of the download file; writing: of the
// written answer), the kernel's share of reading's time (page faults of
// fresh heap, paid when the items need more memory than an earlier read
// left to the process), reading's share of the SAX2 ceiling's speed, the time
// to let go of the items per appointment, and the peak heap of one read as
// a multiple of the download file's size and of one write as a multiple of
// the written answer's size. A column whose benchmark was filtered out
// shows 0.
//
// The process keeps the heap it has had (see main): each read's items are
// let go before the next read, and glibc would otherwise give them back to
// the kernel at times and fault them in again, a cost of the loop that came
// and went with the layout of the heap, not with the reader.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <malloc.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "bench_support.h"
#include "interface/process.h"
#include "message/up_down_file.h"
#include "platform/platform.h"
#include "platform/posix/libxml2_parser.h"
#include "platform/posix/posix_file_system.h"

namespace kdzv::bench {
namespace {

constexpr const char* kHost = "www.zentavo.de";

struct Sample {
  std::string path;
  size_t bytes = 0;
};

// The element-dense sample is asked for by this size (negative: dense).
constexpr int kDense = -100000;

// One download file per size, made once.
const Sample& SampleFor(int appointments) {
  static std::map<int, Sample> samples;
  auto found = samples.find(appointments);
  if (found == samples.end()) {
    const std::string text =
        appointments < 0 ? DenseDownloadMessage(-appointments) : DownloadMessage(appointments);
    Sample sample{WriteTempFile("ZV17_2.xml", text), text.size()};
    found = samples.emplace(appointments, sample).first;
  }
  return found->second;
}

// An answer message holding the appointments of `sample` as adds.
std::unique_ptr<clZVUpDownFile> AnswerFor(const Sample& sample, posix::Libxml2Parser& parser,
                                          posix::PosixFileSystem& fs) {
  clZVUpDownFile received(parser, fs, kHost);
  if (!received.AnalyzeDownFile(sample.path)) std::abort();
  auto answer = std::make_unique<clZVUpDownFile>(parser, fs, kHost);
  answer->SyncHdr().VerDTD = "1.0";
  answer->SyncHdr().VerProto = "SyncZV/1.0";
  answer->SyncHdr().SessionID = "17";
  answer->SyncHdr().MsgID = 3;
  for (const auto& item : received.AddTerminCol()) {
    answer->AddTerminCol().Add(*item->Termin, 0);
  }
  return answer;
}

void IgnoreStart(void*, const xmlChar*, const xmlChar*, const xmlChar*, int, const xmlChar**, int,
                 int, const xmlChar**) {}
void IgnoreEnd(void*, const xmlChar*, const xmlChar*, const xmlChar*) {}
void IgnoreText(void*, const xmlChar*, int) {}

// Pushes the sample through libxml2's SAX2 parser in 64 KiB chunks read from
// the file, with handlers for elements and text that do nothing, or none.
void SaxParse(benchmark::State& state, bool with_handlers) {
  const Sample& sample = SampleFor(static_cast<int>(state.range(0)));
  std::vector<char> chunk(64 * 1024);
  for (auto _ : state) {
    xmlSAXHandler handler{};
    handler.initialized = XML_SAX2_MAGIC;
    if (with_handlers) {
      handler.startElementNs = &IgnoreStart;
      handler.endElementNs = &IgnoreEnd;
      handler.characters = &IgnoreText;
    }
    FILE* file = std::fopen(sample.path.c_str(), "rb");
    xmlParserCtxtPtr context = xmlCreatePushParserCtxt(&handler, nullptr, nullptr, 0, nullptr);
    xmlCtxtUseOptions(context, XML_PARSE_NONET);
    for (;;) {
      const size_t n = std::fread(chunk.data(), 1, chunk.size(), file);
      xmlParseChunk(context, chunk.data(), static_cast<int>(n), n == 0 ? 1 : 0);
      if (n == 0) break;
    }
    if (context->wellFormed == 0) state.SkipWithError("libxml2 could not parse the sample");
    xmlFreeParserCtxt(context);
    std::fclose(file);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * sample.bytes));
}

// libxml2's SAX2 push parser without a single handler: the ceiling.
void BM_SaxParse(benchmark::State& state) { SaxParse(state, false); }
// What taking the events costs before a reader does anything with them.
void BM_SaxEvents(benchmark::State& state) { SaxParse(state, true); }

void BM_RawParse(benchmark::State& state) {
  const Sample& sample = SampleFor(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    xmlDocPtr doc = xmlReadFile(sample.path.c_str(), nullptr, XML_PARSE_NONET | XML_PARSE_HUGE);
    if (doc == nullptr) state.SkipWithError("libxml2 could not parse the sample");
    xmlFreeDoc(doc);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * sample.bytes));
}

double SecondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The kernel's share of the process's time so far, and its page faults.
struct KernelUse {
  double seconds = 0;
  long faults = 0;
};
KernelUse KernelUseNow() {
  rusage use{};
  ::getrusage(RUSAGE_SELF, &use);
  return KernelUse{static_cast<double>(use.ru_stime.tv_sec) +
                       static_cast<double>(use.ru_stime.tv_usec) / 1e6,
                   use.ru_minflt + use.ru_majflt};
}

void BM_Read(benchmark::State& state) {
  const Sample& sample = SampleFor(static_cast<int>(state.range(0)));
  posix::Libxml2Parser parser;
  posix::PosixFileSystem fs;
  double free_seconds = 0;
  double kernel_seconds = 0;
  long faults = 0;
  for (auto _ : state) {
    auto file = std::make_unique<clZVUpDownFile>(parser, fs, kHost);
    const KernelUse kernel_before = KernelUseNow();
    const auto start = std::chrono::steady_clock::now();
    const bool read = file->AnalyzeDownFile(sample.path);
    state.SetIterationTime(SecondsSince(start));
    const KernelUse kernel_after = KernelUseNow();
    kernel_seconds += kernel_after.seconds - kernel_before.seconds;
    faults += kernel_after.faults - kernel_before.faults;
    if (!read) state.SkipWithError("the reader failed");
    if (file->AddTerminCol().Count() != std::abs(state.range(0))) {
      state.SkipWithError("appointments lost");
    }
    const auto free_start = std::chrono::steady_clock::now();
    file.reset();
    free_seconds += SecondsSince(free_start);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * sample.bytes));
  const auto iterations = static_cast<double>(state.iterations());
  state.counters["free_ms"] = free_seconds * 1e3 / iterations;
  // Reading's time in the kernel: mostly the page faults of fresh heap, which
  // a read pays when its items need more memory than earlier reads left.
  state.counters["kernel_ms"] = kernel_seconds * 1e3 / iterations;
  state.counters["faults"] = static_cast<double>(faults) / iterations;
}

void BM_Write(benchmark::State& state) {
  const Sample& sample = SampleFor(static_cast<int>(state.range(0)));
  posix::Libxml2Parser parser;
  posix::PosixFileSystem fs;
  auto answer = AnswerFor(sample, parser, fs);
  const std::string path = sample.path + ".answer.xml";
  for (auto _ : state) {
    if (!answer->CreateUpFile(path)) state.SkipWithError("the writer failed");
  }
  // Throughput in terms of the written file.
  FILE* written = std::fopen(path.c_str(), "rb");
  std::fseek(written, 0, SEEK_END);
  const long size = std::ftell(written);
  std::fclose(written);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * size);
  state.counters["file_MB"] = static_cast<double>(size) / 1e6;
}

constexpr int kSizes[] = {1000, 4000, 8000, 100000, kDense};
#define KDZV_SIZES \
  Arg(1000)->Arg(4000)->Arg(8000)->Arg(100000)->Arg(kDense)->Unit(benchmark::kMillisecond)
BENCHMARK(BM_SaxParse)->KDZV_SIZES;
BENCHMARK(BM_SaxEvents)->KDZV_SIZES;
BENCHMARK(BM_RawParse)->KDZV_SIZES;
BENCHMARK(BM_Read)->KDZV_SIZES->UseManualTime();
BENCHMARK(BM_Write)->KDZV_SIZES;

// Keeps the seconds per iteration of every run for the summary.
class CollectingReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration && run.iterations > 0) {
        // The name without the "/manual_time" of a manually timed run.
        std::string name = run.run_name.function_name + "/" + run.run_name.args;
        seconds[name] = run.GetAdjustedRealTime() / 1e3;  // ms -> s
        const auto free_ms = run.counters.find("free_ms");
        if (free_ms != run.counters.end()) free_seconds[name] = free_ms->second.value / 1e3;
        const auto kernel_ms = run.counters.find("kernel_ms");
        if (kernel_ms != run.counters.end()) kernel_seconds[name] = kernel_ms->second.value / 1e3;
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }
  std::map<std::string, double> seconds;
  std::map<std::string, double> free_seconds;
  std::map<std::string, double> kernel_seconds;
};

size_t FileBytes(const std::string& path) {
  size_t size = 0;
  if (FILE* file = std::fopen(path.c_str(), "rb")) {
    std::fseek(file, 0, SEEK_END);
    size = static_cast<size_t>(std::ftell(file));
    std::fclose(file);
  }
  return size;
}

void PrintSummary(const CollectingReporter& reporter) {
  std::printf("\n%-9s %7s %8s %8s %8s %9s %7s %10s %8s %9s %9s %10s\n", "size", "file MB",
              "sax MB/s", "events", "dom MB/s", "read MB/s", "kernel", "write MB/s", "read/sax",
              "free us/a", "peak read", "peak write");
  posix::Libxml2Parser parser;
  posix::PosixFileSystem fs;
  for (int n : kSizes) {
    const std::string arg = "/" + std::to_string(n);
    const auto time = [&](const char* name) {
      const auto found = reporter.seconds.find(std::string(name) + arg);
      return found == reporter.seconds.end() ? 0.0 : found->second;
    };
    const double sax = time("BM_SaxParse"), events = time("BM_SaxEvents"),
                 dom = time("BM_RawParse"), read = time("BM_Read"),
                 write = time("BM_Write");
    if (sax + events + dom + read + write == 0) continue;  // this size was filtered out
    const auto freed = reporter.free_seconds.find("BM_Read" + arg);
    const double free_us_per_appointment =
        freed == reporter.free_seconds.end() ? 0.0 : freed->second * 1e6 / std::abs(n);
    // The kernel's share of reading's time (page faults of fresh heap).
    const auto kernel = reporter.kernel_seconds.find("BM_Read" + arg);
    const double kernel_share =
        kernel == reporter.kernel_seconds.end() || read <= 0 ? 0.0 : kernel->second / read;
    const Sample& sample = SampleFor(n);
    const double mb = static_cast<double>(sample.bytes) / 1e6;

    double read_peak = 0;
    if (read > 0) {
      ResetPeak();
      const size_t base = HeapInUse();
      {
        clZVUpDownFile file(parser, fs, kHost);
        file.AnalyzeDownFile(sample.path);
      }
      read_peak = static_cast<double>(HeapPeak() - base) / static_cast<double>(sample.bytes);
    }

    // The writer's peak beside the answer it writes (the answer's items
    // are there before and after).
    double write_peak = 0;
    size_t written = 0;
    if (write > 0) {
      auto answer = AnswerFor(sample, parser, fs);
      const std::string answer_path = sample.path + ".answer.xml";
      ResetPeak();
      const size_t base = HeapInUse();
      answer->CreateUpFile(answer_path);
      written = FileBytes(answer_path);
      if (written > 0) {
        write_peak = static_cast<double>(HeapPeak() - base) / static_cast<double>(written);
      }
    }

    const auto rate = [](double megabytes, double seconds) {
      return seconds > 0 ? megabytes / seconds : 0.0;
    };
    const std::string label = n < 0 ? "dense" + std::to_string(-n / 1000) + "k" : std::to_string(n);
    std::printf("%-9s %7.1f %8.1f %8.1f %8.1f %9.1f %6.0f%% %10.1f %8.2f %9.2f %8.1fx %9.1fx\n",
                label.c_str(), mb, rate(mb, sax), rate(mb, events), rate(mb, dom), rate(mb, read),
                kernel_share * 100, rate(static_cast<double>(written) / 1e6, write),
                read > 0 ? sax / read : 0.0, free_us_per_appointment, read_peak, write_peak);
  }
}

}  // namespace
}  // namespace kdzv::bench

int main(int argc, char** argv) {
  // The process keeps its heap between reads (see the comment at the top).
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  mallopt(M_MMAP_THRESHOLD, 64 << 20);
  kdzv::bench::InstallLibxml2Accounting();
  kdzv::InitializeProcess();
  benchmark::Initialize(&argc, argv);
  kdzv::bench::CollectingReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  kdzv::bench::PrintSummary(reporter);
  benchmark::Shutdown();
  return 0;
}
