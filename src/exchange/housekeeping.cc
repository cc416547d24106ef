#include "exchange/housekeeping.h"

#include "exchange/kd_zv_interface.h"
#include "interface/error_report.h"
#include "util/text.h"

namespace kdzv {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The length of the run of digits at the start of `text`.
size_t DigitsAt(std::string_view text) {
  size_t count = 0;
  while (count < text.size() && IsDigit(text[count])) ++count;
  return count;
}

}  // namespace

bool IsOwnMessageName(std::string_view name, std::string_view prefix) {
  if (name.size() < prefix.size() || !EqualsIgnoreCase(name.substr(0, prefix.size()), prefix)) {
    return false;
  }
  std::string_view rest = name.substr(prefix.size());
  const size_t session = DigitsAt(rest);
  if (session == 0 || session >= rest.size() || rest[session] != '_') return false;
  rest.remove_prefix(session + 1);
  const size_t message = DigitsAt(rest);
  if (message == 0) return false;
  return EqualsIgnoreCase(rest.substr(message), ".xml");
}

DepotCleaning CleanDepot(FileSystem& fs, const std::string& depot, std::string_view prefix,
                         DateTime now, int32_t keep_days, int32_t limit) {
  DepotCleaning result;
  if (keep_days <= 0 || depot.empty()) return result;
  const double cutoff = now.serial() - keep_days;
  for (const FolderEntry& entry : fs.ListEntries(depot)) {
    if (result.deleted + result.failed >= limit) break;
    if (entry.kind != FolderEntry::Kind::kFile) continue;
    // A time that could not be read is no reason to delete.
    if (entry.last_write.IsZero() || entry.last_write.serial() >= cutoff) continue;
    if (!IsOwnMessageName(entry.name, prefix)) continue;
    try {
      fs.DeleteFile(fs.BuildPath(depot, entry.name));
      ++result.deleted;
    } catch (...) {
      ++result.failed;
    }
  }
  return result;
}

std::string HousekeepingLogLine(int32_t deleted, int32_t keep_days) {
  return "(Housekeeping) -> " + std::to_string(deleted) +
         " Datei(en) aus dem Ablage-Verzeichnis gelöscht (älter als " +
         std::to_string(keep_days) + " Tage).";
}

void kdZVInterface::Housekeeping() {
  if (housekeeping_.depot_keep_days <= 0) return;
  const std::shared_ptr<clZVSettings> settings = Settings();
  const std::string depot = settings->AblagePath();
  try {
    if (!ports_.file_system.FolderExists(depot)) return;
    const DepotCleaning cleaning =
        CleanDepot(ports_.file_system, depot, settings->FilePraefix(), ports_.clock.Now(),
                   housekeeping_.depot_keep_days);
    WriteLogLine(HousekeepingLogLine(cleaning.deleted, housekeeping_.depot_keep_days));
    if (cleaning.failed > 0) {
      WriteLogLine("(Housekeeping) -> " + std::to_string(cleaning.failed) +
                   " Datei(en) konnten nicht gelöscht werden.");
    }
  } catch (...) {
    ReportCurrentError(kInterfaceModuleName, "Housekeeping", "Ablage=" + depot);
  }
}

}  // namespace kdzv
