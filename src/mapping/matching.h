// clZVMatching: the configuration file of the component (the ".cfg" file
// beside it) with the number of the last session and the matching rules,
// which name the service attributes that carry the new-patient flag, the
// insurance and the treatment method of an appointment.
//
// It also turns the items of a received message into the host's records:
// an appointment into a kdZVTermin, a calendar or an attribute value into a
// kdZVCalendar.
//
// The file operations take the file's full path; the class keeps none. No
// operation but TakeNextSessionID raises: failures go to the error report
// and the operation returns its failure value.
#ifndef KDZV_MAPPING_MATCHING_H_
#define KDZV_MAPPING_MATCHING_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "interface/records.h"
#include "mapping/profile_file.h"
#include "message/calendar_items.h"
#include "message/termin_items.h"

namespace kdzv {

class clZVMatching {
 public:
  explicit clZVMatching(ProfileFile& profile) : profile_(profile) {}
  clZVMatching(const clZVMatching&) = delete;
  clZVMatching& operator=(const clZVMatching&) = delete;

  // Writes SESSION/LastSessionID as plain decimal text (creating file and
  // section) and has the file flushed to disk.
  void SaveSessionID(int32_t session_id, std::string_view file);
  // SESSION/LastSessionID read by the leading-number rule ("12abc" is 12),
  // rounded halves to even; 0 when missing, empty or on failure.
  int32_t GetLastSessionID(std::string_view file);
  // The number of a new session, taken for good: under the profile file's
  // lock (ProfileFile::Lock) the last number is read, one added and the sum
  // saved, so that two processes (two users' hosts on a terminal server)
  // never take the same number. Raises kdzv::Error when the lock cannot be
  // had (nothing read or written) and 6 "Overflow" after 2147483647 (nothing
  // written); a failure to read or write is reported as by GetLastSessionID
  // and SaveSessionID.
  int32_t TakeNextSessionID(std::string_view file);
  // Reads MATCHING/NeuerPatient, Versicherung and Methode into the three
  // attribute names (defaults "Neuer Patient", "Versichertenart",
  // "Behandlungsart"; a key present with an empty value gives "") and sets
  // the three positions to 0.
  void ReadMatchingCFG(std::string_view file);

  // The copies below serve the command processing inside the component
  // only; they are public because C++ has no narrower scope that fits.
  //
  // Fills `target` from an appointment: calendar, customer, times and ids,
  // comment, block flag and status, then the new-patient flag, the method
  // and the insurance from the attributes named by the matching rules.
  // A failure ends the copy with a report and leaves `target` filled as far
  // as the copy got.
  void CopyZVTerminToHXTermin(const clZVTermin& source, kdZVTermin& target);
  // Source, Target and Title of a calendar or of an attribute value into
  // the same three fields of `target`; nothing else of it is touched. A null
  // source does nothing; a null target is replaced by a new record.
  void CopyZVCalendarToHXCalendar(const clZVCalendar* source,
                                  std::shared_ptr<kdZVCalendar>& target);
  void CopyZVAttributeToHXCalendar(const clZVAttributeValue* source,
                                   std::shared_ptr<kdZVCalendar>& target);

  // Service attribute names of the matching rules; empty until
  // ReadMatchingCFG has run, and an empty name switches its rule off.
  std::string AttrNeuerPatient;
  std::string AttrVersicherung;
  std::string AttrMethode;
  // 1-based positions of those attributes in the attribute list of the
  // appointment being copied; 0 = not searched or not found.
  int32_t IdxNeuerPatient = 0;
  int32_t IdxVersicherung = 0;
  int32_t IdxMethode = 0;

 private:
  ProfileFile& profile_;
};

}  // namespace kdzv

#endif  // KDZV_MAPPING_MATCHING_H_
