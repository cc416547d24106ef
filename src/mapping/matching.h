// clZVMatching: the configuration file of the component (the ".cfg" file
// beside it) with the number of the last session and the matching rules,
// which name the service attributes that carry the new-patient flag, the
// insurance and the treatment method of an appointment.
//
// Every operation takes the file's full path; the class keeps none. No
// operation raises: failures go to the error report and the operation
// returns its failure value.
#ifndef KDZV_MAPPING_MATCHING_H_
#define KDZV_MAPPING_MATCHING_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "mapping/profile_file.h"

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
  // Reads MATCHING/NeuerPatient, Versicherung and Methode into the three
  // attribute names (defaults "Neuer Patient", "Versichertenart",
  // "Behandlungsart"; a key present with an empty value gives "") and sets
  // the three positions to 0.
  void ReadMatchingCFG(std::string_view file);

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
