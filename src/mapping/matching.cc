#include "mapping/matching.h"

#include "interface/error_report.h"
#include "mapping/date_text.h"
#include "util/text.h"
#include "util/vb_convert.h"

namespace kdzv {
namespace {

constexpr std::string_view kModule = "clZVMatching";
// Every value is read into a buffer of this many characters.
constexpr size_t kBufferSize = 255;

constexpr std::string_view kSessionSection = "SESSION";
constexpr std::string_view kLastSessionKey = "LastSessionID";
constexpr std::string_view kMatchingSection = "MATCHING";

// The 1-based position of the first attribute whose name equals `name`
// without regard to case (no trimming on either side); 0 when none does.
int32_t FindAttribute(const clZVAttributes& attributes, std::string_view name) {
  const std::string wanted = ToUpper(name);
  for (int32_t position = 1; position <= attributes.Count(); ++position) {
    if (ToUpper(attributes.Item(position)->Title) == wanted) return position;
  }
  return 0;
}

// The value of the attribute at `position`. Looking it up must not end the
// copy: a position outside the list or an attribute without a value gives
// null, which the rules read as the empty text.
std::shared_ptr<clZVAttributeValue> ValueAt(const clZVAttributes& attributes, int32_t position) {
  try {
    return attributes.Item(position)->FirstValue();
  } catch (...) {
    return nullptr;
  }
}

// Calendars and attribute values carry the same three references.
template <class Item>
void CopyReferences(const Item* source, std::shared_ptr<kdZVCalendar>& target) {
  if (source == nullptr) return;
  if (!target) target = std::make_shared<kdZVCalendar>();
  target->Source = source->Source;
  target->Target = source->Target;
  target->Title = source->Title;
}

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

int32_t clZVMatching::TakeNextSessionID(std::string_view file) {
  const std::unique_ptr<ProfileFileLock> lock = profile_.Lock(file);
  // Long arithmetic: after 2147483647 comes an overflow, never a negative
  // number.
  const int32_t session_id = AddLong(GetLastSessionID(file), 1);
  SaveSessionID(session_id, file);
  return session_id;
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

void clZVMatching::CopyZVTerminToHXTermin(const clZVTermin& source, kdZVTermin& target) {
  try {
    IdxNeuerPatient = 0;
    IdxVersicherung = 0;
    IdxMethode = 0;

    // The calendar reference names the practitioner: display text and id.
    target.KalenderName = source.Calendar.Title;
    target.KalenderSourceID = source.Calendar.Source;

    const clZVCustomer& customer = source.Customer;
    target.PatientAddress = customer.Address;
    target.PatientEmail = customer.Email;
    // A date the user's notation recognises is taken as it is; anything else
    // is read as "YYYYMMDD", which fails for a text that is neither.
    if (const auto date = RecogniseDateText(customer.DateOfBirth)) {
      target.PatientGebDat = *date;
    } else {
      target.PatientGebDat = DateFromDigitText(customer.DateOfBirth);
    }
    target.PatientName = customer.LastName;
    target.PatientOrt = customer.City;
    target.PatientPLZ = customer.PostalCode;
    target.PatientTelefon = customer.Phone;
    target.PatientTitle = customer.Title;
    target.PatientVorname = customer.FirstName;

    // The message comes from the service: Source is its id of the
    // appointment, Target the host's id (empty for a new booking).
    target.TerminEnde = source.EndDateTime();
    target.TerminIDHX = source.Target;
    target.TerminIDZV = source.Source;
    target.TerminKommentar = source.Comment;
    target.TerminStart = source.StartDateTime();

    // The reader already turned the flag's text into a bool: only "true" in
    // any letter case sets it.
    target.TerminBlock = source.Block;

    const std::string status = ToLower(source.Status);
    if (status == "requested") {
      target.TerminStatus = TerminStatus_Requested;
    } else if (status == "clientcanceled") {
      target.TerminStatus = TerminStatus_ClientCanceled;
    } else if (status == "providercanceled") {
      target.TerminStatus = TerminStatus_ProviderCanceled;
    } else {
      target.TerminStatus = TerminStatus_Booked;
    }

    const clZVAttributes& attributes = source.Attributes;

    // New patient: the attribute's value reads "ja" in any letter case.
    target.PatientNeu = false;
    if (!AttrNeuerPatient.empty()) {
      IdxNeuerPatient = FindAttribute(attributes, AttrNeuerPatient);
      if (IdxNeuerPatient > 0) {
        const auto value = ValueAt(attributes, IdxNeuerPatient);
        const std::string text = value ? value->Title : std::string();
        if (ToUpper(text) == "JA") target.PatientNeu = true;
      }
    }

    // Method: the value's display text and id. Without a matching attribute,
    // or without a value in it, the id the record had stays.
    target.TerminMethode.clear();
    if (!AttrMethode.empty()) {
      IdxMethode = FindAttribute(attributes, AttrMethode);
      if (IdxMethode > 0) {
        if (const auto value = ValueAt(attributes, IdxMethode)) {
          target.TerminMethode = value->Title;
          target.TerminMethodeSourceID = value->Source;
        }
      }
    }

    // Insurance. The position is kept after the walk whether or not a name
    // matched, so without a match it lies one past the last attribute; the
    // look-up there finds nothing and the insurance stays empty.
    target.PatientVersicherung.clear();
    if (AttrVersicherung.empty()) return;
    const std::string wanted = ToUpper(AttrVersicherung);
    int32_t position = 1;
    while (position <= attributes.Count() && ToUpper(attributes.Item(position)->Title) != wanted) {
      ++position;
    }
    IdxVersicherung = position;
    if (IdxVersicherung > 0) {
      const auto value = ValueAt(attributes, IdxVersicherung);
      target.PatientVersicherung = value ? value->Title : std::string();
    }
  } catch (...) {
    ReportCurrentError(kModule, "CopyZVTerminToHXTermin", "");
  }
}

void clZVMatching::CopyZVCalendarToHXCalendar(const clZVCalendar* source,
                                              std::shared_ptr<kdZVCalendar>& target) {
  try {
    CopyReferences(source, target);
  } catch (...) {
    ReportCurrentError(kModule, "CopyZVCalendarToHXCalendar", "");
  }
}

void clZVMatching::CopyZVAttributeToHXCalendar(const clZVAttributeValue* source,
                                               std::shared_ptr<kdZVCalendar>& target) {
  try {
    CopyReferences(source, target);
  } catch (...) {
    ReportCurrentError(kModule, "CopyZVAttributeToHXCalendar", "");
  }
}

}  // namespace kdzv
