#include "mapping/matching.h"

#include "interface/error_report.h"
#include "util/vb_convert.h"

namespace kdzv {
namespace {

constexpr std::string_view kModule = "clZVMatching";
// Every value is read into a buffer of this many characters.
constexpr size_t kBufferSize = 255;

constexpr std::string_view kSessionSection = "SESSION";
constexpr std::string_view kLastSessionKey = "LastSessionID";
constexpr std::string_view kMatchingSection = "MATCHING";

}  // namespace

void clZVMatching::SaveSessionID(int32_t session_id, std::string_view file) {
  try {
    profile_.WriteString(kSessionSection, kLastSessionKey, std::to_string(session_id), file);
    profile_.Flush(file);
  } catch (...) {
    ReportCurrentError(kModule, "SaveSessionID",
                       "ID=" + std::to_string(session_id) + "  File=" + std::string(file));
  }
}

int32_t clZVMatching::GetLastSessionID(std::string_view file) {
  try {
    const std::string value =
        profile_.GetString(kSessionSection, kLastSessionKey, "0", kBufferSize, file);
    if (value.empty()) return 0;
    return RoundToLong(LeadingNumber(value));
  } catch (...) {
    ReportCurrentError(kModule, "GetLastSessionID", "");
    return 0;
  }
}

void clZVMatching::ReadMatchingCFG(std::string_view file) {
  try {
    AttrNeuerPatient =
        profile_.GetString(kMatchingSection, "NeuerPatient", "Neuer Patient", kBufferSize, file);
    AttrVersicherung =
        profile_.GetString(kMatchingSection, "Versicherung", "Versichertenart", kBufferSize, file);
    AttrMethode =
        profile_.GetString(kMatchingSection, "Methode", "Behandlungsart", kBufferSize, file);
    IdxNeuerPatient = 0;
    IdxVersicherung = 0;
    IdxMethode = 0;
  } catch (...) {
    ReportCurrentError(kModule, "ReadMatchingCFG", "");
  }
}

}  // namespace kdzv
