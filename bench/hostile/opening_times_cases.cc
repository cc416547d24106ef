// The host's opening times: many entries for one practitioner, method and
// day are merged into one Day, each slot formatted once.
#include <cstdlib>
#include <memory>

#include "exchange/opening_times.h"
#include "hostile/hostile.h"
#include "interface/process.h"
#include "mapping/time_zone.h"

namespace kdzv::hostile {
namespace {

// Central European time, as the tests use it.
class BerlinZone : public TimeZoneSource {
 public:
  ZoneInformation GetTimeZoneInformation() override { return {1, -60, -60}; }
};

// An answer of `n` entries, each one slot, all for practitioner 2, method 3
// on 1 July 2024. The nominal input is the size of such an answer in the
// host bridge's JSON lines (about 100 bytes an entry).
KDZV_HOSTILE_CASE(OpeningTimesOneDay) {
  return {"opening-times/one-day",
          {2'000, 16'000},
          {/*max_seconds=*/1.0, /*max_growth=*/3.0, /*heap_per_byte=*/8.0,
           /*heap_allowance=*/1 << 20},
          [](int64_t n, size_t& bytes) -> Run {
            static BerlinZone zone;
            process::SetTimeZone(&zone);
            auto answer = std::make_shared<kdZVBelegungen>();
            const DateTime day = DateTime::FromDate(2024, 7, 1);
            for (int64_t i = 0; i < n; ++i) {
              answer->Add(3, 2, day)->Zeiten->Add(15, day.AddMinutes(8 * 60 + i % 600));
            }
            bytes = static_cast<size_t>(n) * 100;
            return [answer] {
              clZVReplaceOpeningTimeCol items;
              OpeningTimes times(items);
              for (const auto& belegung : *answer) times.Add(*belegung);
              times.Finish();
              if (items.Count() != 1) std::abort();
            };
          }};
}

}  // namespace
}  // namespace kdzv::hostile
