// Fuzz target: the reading of a host's answer line in zvsync's bridge host.
// Any line goes through the shape check, and, when that passes, through
// the JSON parser and into the records the host may change; a crash, a
// sanitizer finding or a stack running out is a failure.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "cli/json_records.h"
#include "interface/records.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using kdzv::Json;
  const std::string_view line(reinterpret_cast<const char*>(data), size);
  if (!kdzv::CheckJsonShape(line).empty()) return 0;
  const Json answer = Json::parse(line, nullptr, false);
  if (answer.is_discarded() || !answer.is_object()) return 0;
  std::string error;
  const auto record = answer.find("record");
  if (record != answer.end()) {
    kdzv::kdZVTermin termin;
    (void)kdzv::ApplyJsonToRecord(*record, termin, error);
    kdzv::kdZVCalendar calendar;
    (void)kdzv::ApplyJsonToRecord(*record, calendar, error);
  }
  const auto belegungen = answer.find("belegungen");
  if (belegungen != answer.end()) {
    kdzv::kdZVBelegungen target;
    (void)kdzv::ReadBelegungen(*belegungen, target, error);
  }
  return 0;
}
