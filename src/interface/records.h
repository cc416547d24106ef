// The public records that cross to the host: plain property bags that hold
// values and validate nothing.
//
// Each record lists its properties once, in VisitProperties, in the order of
// the type library (the automation layer numbers its dispatch ids from that
// order and the command-line host's bridge names them from it):
//   record.VisitProperties([](std::string_view name, auto& value) { ... });
#ifndef KDZV_INTERFACE_RECORDS_H_
#define KDZV_INTERFACE_RECORDS_H_

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "interface/enums.h"
#include "util/date_time.h"
#include "util/keyed_collection.h"

namespace kdzv {

// One appointment as exchanged with the host.
struct kdZVTermin {
  static constexpr std::string_view ClassName() { return "kdZVTermin"; }

  std::string PatientTitle;
  std::string PatientVorname;
  std::string PatientName;
  DateTime PatientGebDat;
  std::string PatientAddress;
  std::string PatientPLZ;
  std::string PatientOrt;
  std::string PatientTelefon;
  std::string PatientEmail;
  std::string PatientVersicherung;
  bool PatientNeu = false;
  std::string KalenderName;
  std::string KalenderSourceID;
  std::string TerminIDZV;
  std::string TerminIDHX;
  DateTime TerminStart;
  DateTime TerminEnde;
  std::string TerminKommentar;
  enmZVTerminCommand TerminCommand = Termin_Add;
  std::string TerminMethode;
  std::string TerminMethodeSourceID;
  enmZVTerminStatus TerminStatus = TerminStatus_Booked;
  bool TerminBlock = false;
  bool IgnoreIt = false;

  template <class Self, class Visitor>
  static void VisitPropertiesOf(Self& r, Visitor&& v) {
    v("PatientTitle", r.PatientTitle);
    v("PatientVorname", r.PatientVorname);
    v("PatientName", r.PatientName);
    v("PatientGebDat", r.PatientGebDat);
    v("PatientAddress", r.PatientAddress);
    v("PatientPLZ", r.PatientPLZ);
    v("PatientOrt", r.PatientOrt);
    v("PatientTelefon", r.PatientTelefon);
    v("PatientEmail", r.PatientEmail);
    v("PatientVersicherung", r.PatientVersicherung);
    v("PatientNeu", r.PatientNeu);
    v("KalenderName", r.KalenderName);
    v("KalenderSourceID", r.KalenderSourceID);
    v("TerminIDZV", r.TerminIDZV);
    v("TerminIDHX", r.TerminIDHX);
    v("TerminStart", r.TerminStart);
    v("TerminEnde", r.TerminEnde);
    v("TerminKommentar", r.TerminKommentar);
    v("TerminCommand", r.TerminCommand);
    v("TerminMethode", r.TerminMethode);
    v("TerminMethodeSourceID", r.TerminMethodeSourceID);
    v("TerminStatus", r.TerminStatus);
    v("TerminBlock", r.TerminBlock);
    v("IgnoreIt", r.IgnoreIt);
  }
  template <class Visitor> void VisitProperties(Visitor&& v) { VisitPropertiesOf(*this, v); }
  template <class Visitor> void VisitProperties(Visitor&& v) const { VisitPropertiesOf(*this, v); }
};

// One calendar (practitioner) or one attribute (treatment method).
struct kdZVCalendar {
  static constexpr std::string_view ClassName() { return "kdZVCalendar"; }

  std::string Source;
  std::string Target;
  std::string Title;
  enmZVCalendarCommand CalendarCommand = Object_Add;
  bool IgnoreIt = false;
  int32_t BehandlerIDHX = 0;
  int32_t BehandlerIDZV = 0;
  std::string AttributeIDHX;
  std::string AttributeIDZV;

  template <class Self, class Visitor>
  static void VisitPropertiesOf(Self& r, Visitor&& v) {
    v("Source", r.Source);
    v("Target", r.Target);
    v("Title", r.Title);
    v("CalendarCommand", r.CalendarCommand);
    v("IgnoreIt", r.IgnoreIt);
    v("BehandlerIDHX", r.BehandlerIDHX);
    v("BehandlerIDZV", r.BehandlerIDZV);
    v("AttributeIDHX", r.AttributeIDHX);
    v("AttributeIDZV", r.AttributeIDZV);
  }
  template <class Visitor> void VisitProperties(Visitor&& v) { VisitPropertiesOf(*this, v); }
  template <class Visitor> void VisitProperties(Visitor&& v) const { VisitPropertiesOf(*this, v); }
};

// One time slot of a day.
struct kdZVBelegungsZeit {
  static constexpr std::string_view ClassName() { return "kdZVBelegungsZeit"; }

  int32_t Dauer = 0;  // minutes
  DateTime StartZeit;

  template <class Self, class Visitor>
  static void VisitPropertiesOf(Self& r, Visitor&& v) {
    v("Dauer", r.Dauer);
    v("StartZeit", r.StartZeit);
  }
  template <class Visitor> void VisitProperties(Visitor&& v) { VisitPropertiesOf(*this, v); }
  template <class Visitor> void VisitProperties(Visitor&& v) const { VisitPropertiesOf(*this, v); }
};

// The time slots of one day.
class kdZVBelegungsZeiten : public KeyedCollection<kdZVBelegungsZeit> {
 public:
  static constexpr std::string_view ClassName() { return "kdZVBelegungsZeiten"; }

  using KeyedCollection::Add;
  // A fresh slot with exactly these properties, appended under `sKey` when
  // that is not empty. A key already present raises 457.
  std::shared_ptr<kdZVBelegungsZeit> Add(int32_t Dauer, DateTime StartZeit,
                                         std::string_view sKey = {});
};

// The opening times of one practitioner for one treatment on one day. Its
// Zeiten collection exists from the start (empty); the host may replace it
// by another collection object.
struct kdZVBelegung {
  static constexpr std::string_view ClassName() { return "kdZVBelegung"; }

  int32_t MethodeID = 0;
  std::string MethodeIDext;
  int32_t BehandlerID = 0;
  std::string BehandlerIDext;
  DateTime Datum;
  std::shared_ptr<kdZVBelegungsZeiten> Zeiten = std::make_shared<kdZVBelegungsZeiten>();

  // The value properties; Zeiten is an object reference and not visited.
  template <class Self, class Visitor>
  static void VisitPropertiesOf(Self& r, Visitor&& v) {
    v("MethodeID", r.MethodeID);
    v("MethodeIDext", r.MethodeIDext);
    v("BehandlerID", r.BehandlerID);
    v("BehandlerIDext", r.BehandlerIDext);
    v("Datum", r.Datum);
  }
  template <class Visitor> void VisitProperties(Visitor&& v) { VisitPropertiesOf(*this, v); }
  template <class Visitor> void VisitProperties(Visitor&& v) const { VisitPropertiesOf(*this, v); }
};

// The opening times the host supplies on request.
class kdZVBelegungen : public KeyedCollection<kdZVBelegung> {
 public:
  static constexpr std::string_view ClassName() { return "kdZVBelegungen"; }

  using KeyedCollection::Add;
  // A fresh record with MethodeID, BehandlerID and Datum set (the external
  // ids stay empty), appended under `sKey` when that is not empty. A key
  // already present raises 457.
  std::shared_ptr<kdZVBelegung> Add(int32_t MethodeID, int32_t BehandlerID, DateTime Datum,
                                    std::string_view sKey = {});
};

}  // namespace kdzv

#endif  // KDZV_INTERFACE_RECORDS_H_
