// Messages made to cost: a file of nothing but empty elements at the size
// limit, a start tag crowded with attributes, and ordinary messages of many
// appointments through the whole reader.
#include <cstdlib>
#include <string>

#include "bench_support.h"
#include "hostile/hostile.h"
#include "message/up_down_file.h"
#include "message/xml_parser.h"
#include "platform/platform.h"

namespace kdzv::hostile {
namespace {

// `n` bytes of empty elements in a message frame (the worst case of the
// element tree: one element for every 4 bytes).
std::string EmptyElements(size_t n) {
  std::string text = "<SyncML><SyncBody>";
  while (text.size() + 4 + 20 < n) text += "<a/>";
  text += "</SyncBody></SyncML>";
  return text;
}

KDZV_HOSTILE_CASE(MessageEmptyElements) {
  return {"message/empty-elements",
          {2 * 1024 * 1024, static_cast<int64_t>(xml_limits::kMaxFileBytes)},
          {/*max_seconds=*/2.0, /*max_growth=*/3.0, /*heap_per_byte=*/25.0,
           /*heap_allowance=*/1 << 20},
          [](int64_t n, size_t& bytes) -> Run {
            const std::string text = EmptyElements(static_cast<size_t>(n));
            bytes = text.size();
            const std::string path = bench::WriteTempFile("HX1_2.xml", text);
            return [path] {
              if (!System().xml_parser.ParseFile(path)) std::abort();
            };
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

// An ordinary answer of many appointments, read into items.
KDZV_HOSTILE_CASE(MessageAppointments) {
  return {"message/appointments",
          {1'000, 16'000},
          {/*max_seconds=*/2.0, /*max_growth=*/3.0, /*heap_per_byte=*/12.0,
           /*heap_allowance=*/1 << 20},
          [](int64_t n, size_t& bytes) -> Run {
            const std::string text = bench::DownloadMessage(static_cast<int>(n));
            bytes = text.size();
            if (bytes > xml_limits::kMaxFileBytes) std::abort();
            const std::string path = bench::WriteTempFile("HX17_2.xml", text);
            return [path] {
              clZVUpDownFile file(System().xml_parser, System().file_system, "www.zentavo.de");
              if (!file.AnalyzeDownFile(path)) std::abort();
            };
          }};
}

}  // namespace
}  // namespace kdzv::hostile
