#include "interface/records.h"

namespace kdzv {

std::shared_ptr<kdZVBelegungsZeit> kdZVBelegungsZeiten::Add(int32_t Dauer, DateTime StartZeit,
                                                            std::string_view sKey) {
  auto slot = std::make_shared<kdZVBelegungsZeit>();
  slot->Dauer = Dauer;
  slot->StartZeit = StartZeit;
  return KeyedCollection::Add(std::move(slot), sKey);
}

std::shared_ptr<kdZVBelegung> kdZVBelegungen::Add(int32_t MethodeID, int32_t BehandlerID,
                                                  DateTime Datum, std::string_view sKey) {
  auto day = std::make_shared<kdZVBelegung>();
  day->MethodeID = MethodeID;
  day->BehandlerID = BehandlerID;
  day->Datum = Datum;
  return KeyedCollection::Add(std::move(day), sKey);
}

}  // namespace kdzv
