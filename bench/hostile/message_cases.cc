// Messages made to cost: a file of nothing but empty elements at the size
// limit, one command of nothing but empty elements, a start tag crowded with
// attributes, and ordinary messages of many appointments through the whole
// reader, up to the size limit.
#include <cstdlib>
#include <string>

#include "bench_support.h"
#include "hostile/hostile.h"
#include "message/up_down_file.h"
#include "message/xml_parser.h"
#include "platform/platform.h"

namespace kdzv::hostile {
namespace {

// `n` bytes of empty elements in a message frame, as children of the body
// (`command` empty) or of one command.
std::string EmptyElements(size_t n, const std::string& command = "") {
  const std::string open = command.empty() ? "" : "<" + command + ">";
  const std::string close = command.empty() ? "" : "</" + command + ">";
  std::string text = "<SyncML><SyncBody>" + open;
  const std::string end = close + "</SyncBody></SyncML>";
  text.reserve(n);
  while (text.size() + 4 + end.size() <= n) text += "<a/>";
  text += end;
  return text;
}

Run ReadMessage(const std::string& path) {
  return [path] {
    clZVUpDownFile file(System().xml_parser, System().file_system, "www.zentavo.de");
    if (!file.AnalyzeDownFile(path)) std::abort();
  };
}

// Every element is skipped (and reported with the same text): the reader
// keeps nothing of them.
KDZV_HOSTILE_CASE(MessageEmptyElements) {
  return {"message/empty-elements",
          {2 * 1024 * 1024, static_cast<int64_t>(xml_limits::kMaxFileBytes)},
          {/*max_seconds=*/30.0, /*max_growth=*/3.0, /*heap_per_byte=*/0.1,
           /*heap_allowance=*/1 << 20},
          [](int64_t n, size_t& bytes) -> Run {
            const std::string text = EmptyElements(static_cast<size_t>(n));
            bytes = text.size();
            return ReadMessage(bench::WriteTempFile("HX1_2.xml", text));
          }};
}

// An add command is read element by element, without a tree: one of
// nothing but empty elements costs next to nothing (each is unknown to the
// appointment reader and passed over; its report, the same every time, is
// held once with a count).
KDZV_HOSTILE_CASE(MessageOneCommandOfEmptyElements) {
  return {"message/one-command-of-empty-elements",
          {1024 * 1024, 8 * 1024 * 1024},
          {/*max_seconds=*/10.0, /*max_growth=*/3.0, /*heap_per_byte=*/1.0,
           /*heap_allowance=*/1 << 20},
          [](int64_t n, size_t& bytes) -> Run {
            const std::string text = EmptyElements(static_cast<size_t>(n), "Add");
            bytes = text.size();
            return ReadMessage(bench::WriteTempFile("HX1_2.xml", text));
          }};
}

// A status command is built whole before it is read: one of nothing but
// empty elements costs its element tree (some 90 bytes an element of 4).
KDZV_HOSTILE_CASE(MessageOneStatusOfEmptyElements) {
  return {"message/one-status-of-empty-elements",
          {1024 * 1024, 8 * 1024 * 1024},
          {/*max_seconds=*/10.0, /*max_growth=*/3.0, /*heap_per_byte=*/25.0,
           /*heap_allowance=*/1 << 20},
          [](int64_t n, size_t& bytes) -> Run {
            const std::string text = EmptyElements(static_cast<size_t>(n), "Status");
            bytes = text.size();
            return ReadMessage(bench::WriteTempFile("HX1_2.xml", text));
          }};
}

// One start tag with `n` attributes: refused before any parser sees it.
KDZV_HOSTILE_CASE(MessageCrowdedTag) {
  return {"message/crowded-tag",
          {50'000, 400'000},
          {/*max_seconds=*/0.5, /*max_growth=*/3.0, /*heap_per_byte=*/3.0,
           /*heap_allowance=*/1 << 20},
          [](int64_t n, size_t& bytes) -> Run {
            std::string text = "<SyncML";
            for (int64_t i = 0; i < n; ++i) text += " a" + std::to_string(i) + "=\"1\"";
            text += "/>";
            bytes = text.size();
            const std::string path = bench::WriteTempFile("HX1_2.xml", text);
            return [path] {
              if (System().xml_parser.ParseFile(path)) std::abort();
            };
          }};
}

// An ordinary answer of many appointments, read into items, up to nearly
// the size limit (120 000 appointments, 125 MB).
KDZV_HOSTILE_CASE(MessageAppointments) {
  return {"message/appointments",
          {1'000, 120'000},
          {/*max_seconds=*/30.0, /*max_growth=*/3.0, /*heap_per_byte=*/3.0,
           /*heap_allowance=*/1 << 20},
          [](int64_t n, size_t& bytes) -> Run {
            const std::string text = bench::DownloadMessage(static_cast<int>(n));
            bytes = text.size();
            if (bytes > xml_limits::kMaxFileBytes) std::abort();
            return ReadMessage(bench::WriteTempFile("HX17_2.xml", text));
          }};
}

}  // namespace
}  // namespace kdzv::hostile
