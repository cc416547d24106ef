// Reading and writing messages of 1k, 10k and 100k appointments, against the
// raw parse of the same files by libxml2 alone.
//
//   message_bench                      all benchmarks, then a summary
//   message_bench --benchmark_filter=Read
//
// The summary gives MB/s (reading: of the download file; writing: of the
// written answer), the ratio of reading into items to the raw parse, and the
// peak heap of one read and one write as a multiple of the download file's
// size. A column whose benchmark was filtered out shows 0.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>

#include <cstdio>
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

// One download file per size, made once.
const Sample& SampleFor(int appointments) {
  static std::map<int, Sample> samples;
  auto found = samples.find(appointments);
  if (found == samples.end()) {
    const std::string text = DownloadMessage(appointments);
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

void BM_RawParse(benchmark::State& state) {
  const Sample& sample = SampleFor(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    xmlDocPtr doc = xmlReadFile(sample.path.c_str(), nullptr, XML_PARSE_NONET | XML_PARSE_HUGE);
    if (doc == nullptr) state.SkipWithError("libxml2 could not parse the sample");
    xmlFreeDoc(doc);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * sample.bytes));
}

void BM_ParseToTree(benchmark::State& state) {
  const Sample& sample = SampleFor(static_cast<int>(state.range(0)));
  posix::Libxml2Parser parser;
  for (auto _ : state) {
    auto tree = parser.ParseFile(sample.path);
    if (!tree) state.SkipWithError("the adapter could not parse the sample");
    benchmark::DoNotOptimize(tree);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * sample.bytes));
}

void BM_Read(benchmark::State& state) {
  const Sample& sample = SampleFor(static_cast<int>(state.range(0)));
  posix::Libxml2Parser parser;
  posix::PosixFileSystem fs;
  for (auto _ : state) {
    clZVUpDownFile file(parser, fs, kHost);
    if (!file.AnalyzeDownFile(sample.path)) state.SkipWithError("the reader failed");
    if (file.AddTerminCol().Count() != state.range(0)) state.SkipWithError("appointments lost");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * sample.bytes));
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

#define KDZV_SIZES Arg(1000)->Arg(4000)->Arg(8000)->Unit(benchmark::kMillisecond)
BENCHMARK(BM_RawParse)->KDZV_SIZES;
BENCHMARK(BM_ParseToTree)->KDZV_SIZES;
BENCHMARK(BM_Read)->KDZV_SIZES;
BENCHMARK(BM_Write)->KDZV_SIZES;

// Keeps the seconds per iteration of every run for the summary.
class CollectingReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration && run.iterations > 0) {
        seconds[run.benchmark_name()] = run.GetAdjustedRealTime() / 1e3;  // ms -> s
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }
  std::map<std::string, double> seconds;
};

void PrintSummary(const CollectingReporter& reporter) {
  std::printf("\n%-8s %10s %10s %10s %10s %8s %10s %10s\n", "size", "file MB", "raw MB/s",
              "read MB/s", "write MB/s", "read/raw", "peak read", "peak write");
  posix::Libxml2Parser parser;
  posix::PosixFileSystem fs;
  for (int n : {1000, 4000, 8000}) {
    const std::string arg = "/" + std::to_string(n);
    const auto time = [&](const char* name) {
      const auto found = reporter.seconds.find(std::string(name) + arg);
      return found == reporter.seconds.end() ? 0.0 : found->second;
    };
    const Sample& sample = SampleFor(n);
    const double mb = static_cast<double>(sample.bytes) / 1e6;

    ResetPeak();
    size_t base = HeapInUse();
    {
      clZVUpDownFile file(parser, fs, kHost);
      file.AnalyzeDownFile(sample.path);
    }
    const double read_peak = static_cast<double>(HeapPeak() - base) / static_cast<double>(sample.bytes);

    auto answer = AnswerFor(sample, parser, fs);
    ResetPeak();
    base = HeapInUse();
    answer->CreateUpFile(sample.path + ".answer.xml");
    double written_mb = 0;
    if (FILE* written = std::fopen((sample.path + ".answer.xml").c_str(), "rb")) {
      std::fseek(written, 0, SEEK_END);
      written_mb = static_cast<double>(std::ftell(written)) / 1e6;
      std::fclose(written);
    }
    const double write_peak = static_cast<double>(HeapPeak() - base) / static_cast<double>(sample.bytes);

    const double raw = time("BM_RawParse"), read = time("BM_Read"), write = time("BM_Write");
    const auto rate = [](double megabytes, double seconds) {
      return seconds > 0 ? megabytes / seconds : 0.0;
    };
    std::printf("%-8d %10.1f %10.1f %10.1f %10.1f %8.2f %9.1fx %9.1fx\n", n, mb, rate(mb, raw),
                rate(mb, read), rate(written_mb, write), raw > 0 ? read / raw : 0.0, read_peak,
                write_peak);
  }
}

}  // namespace
}  // namespace kdzv::bench

int main(int argc, char** argv) {
  kdzv::bench::InstallLibxml2Accounting();
  kdzv::InitializeProcess();
  benchmark::Initialize(&argc, argv);
  kdzv::bench::CollectingReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  kdzv::bench::PrintSummary(reporter);
  benchmark::Shutdown();
  return 0;
}
