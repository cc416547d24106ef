// HandleDownFile: every command of a received message, in a fixed order,
// turned into a record for the host and an event; the host's answers become
// statuses, maps and follow-up replaces of the answer message.
#include <map>
#include <vector>

#include "interface/error_report.h"
#include "exchange/kd_zv_interface.h"
#include "exchange/opening_times.h"
#include "util/text.h"
#include "util/vb_convert.h"

namespace kdzv {

namespace {

std::string Returned(int32_t retVal) { return retVal != 0 ? "True" : "False"; }

// The host's id as a number; an empty id is 0, a text that is not a number
// is a run-time error (13) that ends the processing.
int32_t HostIdNumber(const std::string& id) { return id.empty() ? 0 : ToLong(id); }

// The follow-up replace of an added appointment: only its status, under the
// pair of ids (Source: the host's, Target: the service's).
std::shared_ptr<clZVTermin> StatusReplace(const clZVTermin& received, const kdZVTermin& record,
                                          std::string_view status) {
  std::shared_ptr<clZVTermin> replace = received.Copy();
  replace->Source = record.TerminIDHX;
  replace->Target = received.Source;
  replace->Status = std::string(status);
  return replace;
}

// The map of an appointment the host took: its id with the service's.
void AddTerminMap(clZVUpDownFile& answer, const kdZVTermin& record) {
  clZVTerminKey key;
  key.TerminKeySource = record.TerminIDHX;
  key.TerminKeyTarget = record.TerminIDZV;
  answer.MapTerminCol().Add(key, 0);
}

// "<what> am <date> um <time> für <name>,<first name> (Behandlung: <method>)"
std::string TerminLine(std::string_view what, Clock& clock, const kdZVTermin& record) {
  return std::string(what) + " am " + clock.ShortDate(record.TerminStart) + " um " +
         record.TerminStart.Format("hh:nn") + " für " + record.PatientName + "," +
         record.PatientVorname + " (Behandlung: " + record.TerminMethode + ")";
}

bool AnswerIsEmpty(clZVUpDownFile& answer) {
  return answer.AlertCol().Count() == 0 && answer.StatusCol().Count() == 0 &&
         answer.MapCalendarCol().Count() == 0 && answer.AddAttributesCol().Count() == 0 &&
         answer.AddTerminCol().Count() == 0 && answer.DeleteTerminCol().Count() == 0 &&
         answer.MapTerminCol().Count() == 0 && answer.ReplaceOpeningTimeCol().Count() == 0 &&
         answer.ReplaceTerminCol().Count() == 0;
}

}  // namespace

void kdZVInterface::HandleDownFile(clZVUpDownFile& received, bool& send_reply,
                                   clZVUpDownFile& answer) {
  try {
    WriteLogLine("HandleDownFile...");
    const std::string msg_ref = std::to_string(received.SyncHdr().MsgID);

    // 1. Calendars to add.
    for (const auto& item : received.AddCalendarCol()) {
      LogAndShow("-> Neuer Calendar: " + item->Calendar->Title);
      std::shared_ptr<kdZVCalendar> calendar;
      matching_.CopyZVCalendarToHXCalendar(item->Calendar.get(), calendar);
      calendar->CalendarCommand = Object_Add;
      int32_t retVal = 0;
      host_.OnCalendar(calendar, retVal);
      WriteLogLine("-> OnCalendar() returned " + Returned(retVal));
      if (!calendar || calendar->IgnoreIt || retVal == 0) continue;
      answer.StatusCol().Add("Add", "", std::to_string(item->CmdID), msg_ref, "201", "");
      const std::string host_id = std::to_string(calendar->BehandlerIDHX);
      WriteLogLine("-> mHXCalendar.BehandlerIDHX  =" + host_id);
      if (calendar->BehandlerIDHX > 0) {
        answer.MapCalendarCol().Add(0, host_id, calendar->Source);
        WriteLogLine("-> MapCalenar: HX=" + host_id + " ZV=" + calendar->Source);
      }
    }

    // 2. Attributes to add: only the method attribute reaches the host.
    for (const auto& item : received.AddAttributesCol()) {
      const clZVAttributeMulti& attribute = *item->AAttribute;
      if (attribute.Title != matching_.AttrMethode) {
        WriteLogLine("Attribute '" + attribute.Title +
                     "' nicht bekannt. Ggf. Matching-Daei prüfen.");
        continue;
      }
      for (const auto& value : attribute.Values) {
        LogAndShow("-> Neues Attribut (Methode): " + value->Title);
        std::shared_ptr<kdZVCalendar> record;
        matching_.CopyZVAttributeToHXCalendar(value.get(), record);
        record->CalendarCommand = Object_Add;
        int32_t retVal = 0;
        host_.OnAttribute(record, retVal);
        WriteLogLine("-> OnAttribute() returned " + Returned(retVal));
        if (!record || record->IgnoreIt || retVal == 0) continue;
        answer.StatusCol().Add("Add", "", std::to_string(item->CmdID), msg_ref, "201", "");
        WriteLogLine("-> mHXCalendar.AttributeIDHX  =" + record->AttributeIDHX);
        // The answer tells the service the host's id of the value.
        clZVAttributeMulti ids;
        ids.Source = attribute.Source;
        ids.Target = attribute.Target;
        ids.Title = attribute.Title;
        ids.Values.Add(record->AttributeIDHX, value->Source, value->Title);
        answer.AddAttributesCol().Add(ids, 0);
      }
    }

    // 3. Appointments to add.
    // Each received appointment goes once it is handled (so do those to
    // replace and delete below): a slow sync of a whole calendar is not
    // held beside its answer.
    received.AddTerminCol().Drain([&](const auto& item) {
      auto record = std::make_shared<kdZVTermin>();
      matching_.CopyZVTerminToHXTermin(*item->Termin, *record);
      record->TerminCommand = Termin_Add;
      LogAndShow(TerminLine("-> Neuer Termin", ports_.clock, *record));
      int32_t retVal = 0;
      host_.OnTermin(record, retVal);
      WriteLogLine("-> OnTermin() returned " + Returned(retVal));
      if (!record || record->IgnoreIt) return;
      answer.StatusCol().Add("Add", "", std::to_string(item->CmdID), msg_ref, "201", "");
      if (retVal != 0) {
        WriteLogLine("-> mHXTermin.TerminIDHX=" + record->TerminIDHX);
        if (HostIdNumber(record->TerminIDHX) > 0) {
          AddTerminMap(answer, *record);
          WriteLogLine("-> MapTermin: HX=" + record->TerminIDHX + " ZV=" + record->TerminIDZV);
        }
        if (record->TerminStatus == TerminStatus_Requested) {
          // The practice took the patient's request: the service shows it
          // as booked.
          answer.ReplaceTerminCol().Add(StatusReplace(*item->Termin, *record, "Booked"), 0, true);
        }
      } else {
        record->TerminStatus = TerminStatus_ProviderCanceled;
        answer.ReplaceTerminCol().Add(StatusReplace(*item->Termin, *record, "ProviderCanceled"),
                                      0, true);
      }
    });

    // 4. Appointments to replace.
    received.ReplaceTerminCol().Drain([&](const auto& item) {
      auto record = std::make_shared<kdZVTermin>();
      matching_.CopyZVTerminToHXTermin(*item->Termin, *record);
      record->TerminCommand = Termin_Replace;
      LogAndShow(TerminLine("-> Termin ersetzen", ports_.clock, *record));
      int32_t retVal = 0;
      host_.OnTermin(record, retVal);
      WriteLogLine("-> OnTermin() returned " + Returned(retVal));
      if (!record || record->IgnoreIt) return;
      if (retVal != 0) {
        answer.StatusCol().Add("Replace", "", std::to_string(item->CmdID), msg_ref, "200",
                               "Replace positiv bestaetigt... (RS)");
        if (HostIdNumber(record->TerminIDHX) > 0) {
          AddTerminMap(answer, *record);
          WriteLogLine("-> MapTermin (wg. Replace): HX=" + record->TerminIDHX +
                       " ZV=" + record->TerminIDZV);
        }
      } else {
        // A refused replace is confirmed all the same, and the text says so.
        answer.StatusCol().Add("Replace", "", std::to_string(item->CmdID), msg_ref, "200",
                               "Replace fehlgeschlagen. Trotzdem '200' geschrieben (RS)");
      }
    });

    // 5. Appointments to delete. The service sends its own id first.
    received.DeleteTerminCol().Drain([&](const auto& item) {
      auto record = std::make_shared<kdZVTermin>();
      record->TerminIDZV = item->TerminKey->TerminKeySource;
      record->TerminIDHX = item->TerminKey->TerminKeyTarget;
      record->TerminCommand = Termin_Delete;
      LogAndShow("-> Termin löschen. ID=" + record->TerminIDZV);
      int32_t retVal = 0;
      host_.OnTermin(record, retVal);
      WriteLogLine("-> OnTermin() returned " + Returned(retVal));
      if (!record || record->IgnoreIt) return;
      answer.StatusCol().Add("Delete", "", std::to_string(item->CmdID), msg_ref,
                             retVal != 0 ? "200" : "211", "");
    });

    // 6. Opening times.
    if (received.OpeningTimeRequested()) {
      LogAndShow("Ausführungszeiten werden von Halvex zusammengestellt...");
      auto belegungen = std::make_shared<kdZVBelegungen>();
      int32_t retVal = 0;
      host_.OnQueryOpeningTime(belegungen, retVal);
      LogAndShow("-> Ausführungszeiten erfolgreich ermittelt.");
      if (belegungen) {
        OpeningTimes opening_times(answer.ReplaceOpeningTimeCol());
        for (const auto& belegung : *belegungen) opening_times.Add(*belegung);
        opening_times.Finish();
      }
    }

    // 7. Incoming statuses: the service's end of session.
    for (const auto& status : received.StatusCol()) {
      if (ToUpper(status->Data) == "SESSION END") {
        session_end_ = true;
        WriteLogLine("Zentavo hat Session End geschickt...");
      }
    }

    // 8. A message that needed no answer ends the session.
    if (!session_end_ && AnswerIsEmpty(answer)) {
      answer.StatusCol().Add("SyncHdr", "", "0", msg_ref, "200", "Session End");
      session_end_ = true;
    }
    send_reply = true;
  } catch (...) {
    ReportCurrentError(kInterfaceModuleName, "HandleDownFile", "");
  }
}

}  // namespace kdzv
