// mSyncForm_OnNewFile: one file found in the download folder. Only the
// answer that carries the next message number of the running session is
// processed; every other file is put away like a processed one.
#include "interface/component_log.h"
#include "interface/error_report.h"
#include "exchange/kd_zv_interface.h"
#include "util/text.h"
#include "util/vb_convert.h"

namespace kdzv {

namespace {

// The decimal text of the number after `number` (Long arithmetic).
std::string NextNumberText(int32_t number) { return std::to_string(AddLong(number, 1)); }

}  // namespace

void kdZVInterface::mSyncForm_OnNewFile(int32_t& retVal, const std::string& strFilename) {
  std::string full_path;
  try {
    FileSystem& fs = ports_.file_system;
    const std::shared_ptr<clZVSettings> settings = Settings();
    Info("Neue Datei erhalten: " + strFilename);
    full_path = fs.BuildPath(settings->DownloadPath(), strFilename);

    const std::string& stem = session_file_base_;
    if (ToUpper(strFilename.substr(0, stem.size())) != ToUpper(stem)) {
      Warn("Die Datei gehört nicht zu aktuellen Session. Datei wird ignoriert.");
      PutAwayUnlessHeld(retVal, strFilename, full_path);
      return;
    }
    const std::string expected = ExpectedAnswerName();
    if (ToUpper(strFilename) != ToUpper(expected)) {
      Warn("Die Datei gehört zwar zu aktuellen Session, hat aber keine korrekte Msg-ID. "
           "Erwartete Datei: '" +
           expected + "'. Datei wird ignoriert.");
      PutAwayUnlessHeld(retVal, strFilename, full_path);
      return;
    }

    Info("Prüfe exkl. Zugriff: " + full_path);
    if (!fs.TryExclusiveAccess(full_path)) {
      // Still being written: left untouched for the next tick.
      Info("Die Datei kann nicht exklusiv geöffnet werden");
      retVal = -1;
      return;
    }

    session_->MsgID = AddLong(session_->MsgID, 1);
    Info("Die Datei wird verarbeitet...");
    std::unique_ptr<clZVUpDownFile> received = NewMessage();
    if (!received->AnalyzeDownFile(full_path)) {
      Info("Probleme mit der Download-Datei!");
      ports_.user_interface.ShowMessageBox("Probleme mit der Download-Datei: " + full_path,
                                           msgbox::kOkOnly | msgbox::kCritical, kComponentTitle);
      PutAway(strFilename, full_path);
      return;
    }

    Info("Verarbeitung der Datei abgeschlossen.");
    Info("Antwortdatei wird aufgebaut...");
    session_end_ = false;
    std::unique_ptr<clZVUpDownFile> answer = NewMessage();
    bool send_reply = false;
    HandleDownFile(*received, send_reply, *answer);
    // What was received is handled: its items go before the answer's text
    // is made, so that a large message is not held three ways at once.
    received.reset();
    if (session_end_) Info("Session kann abgeschlossen werden. Keine weiteren Kommandos.");

    if (send_reply) {
      // A message that ends the session and needs no status ends it
      // silently, without an answer file.
      if (!(answer->StatusCol().Count() == 0 && session_end_)) {
        session_->MsgID = AddLong(session_->MsgID, 1);
        GenerateSyncHeader(*answer);
        const std::string answer_path =
            fs.BuildPath(settings->UploadPath(), GetSessionFileName());
        Info("Antwortdatei wird geschrieben: " + answer_path);
        WriteLogLine("Antwortdatei wird geschrieben: " + answer_path);
        answer->CreateUpFile(answer_path);
      }
      retVal = -1;
      if (session_end_) finished_ = true;
    }
    PutAway(strFilename, full_path);
  } catch (...) {
    ReportCurrentError(kInterfaceModuleName, "mSyncForm_OnNewFile", "File=" + full_path);
  }
}

std::string kdZVInterface::ExpectedAnswerName() const {
  return session_file_base_ + NextNumberText(session_->MsgID) + ".xml";
}

// A file that is not the expected answer is put away like a processed one,
// unless another process still holds it open (an agent writing a file under
// a name of its own before it renames it): such a file is never moved or
// deleted, but left for a later tick, and the watch goes on.
void kdZVInterface::PutAwayUnlessHeld(int32_t& retVal, const std::string& name,
                                      const std::string& full_path) {
  if (!ports_.file_system.TryExclusiveAccess(full_path)) {
    Info("Die Datei kann nicht exklusiv geöffnet werden und bleibt liegen: " + full_path);
    retVal = -1;
    return;
  }
  PutAway(name, full_path);
}

// Moves a handled file into the depot, or deletes it when there is none.
void kdZVInterface::PutAway(const std::string& name, const std::string& full_path) {
  FileSystem& fs = ports_.file_system;
  const std::string depot = Settings()->AblagePath();
  bool remove = false;
  if (depot.empty()) {
    Info("Ablagepfad nicht eingegeben. Abgearbeitete Datei wird deshalb gelöscht: " + full_path);
    remove = true;
  } else if (fs.FolderExists(depot)) {
    try {
      // A file of that name already in the depot is never replaced: the
      // move fails, is reported, and the file stays in the download folder.
      fs.MoveFile(full_path, fs.BuildPath(depot, name));
    } catch (...) {
      ReportCurrentError(kInterfaceModuleName, "mSyncForm_OnNewFile", "File=" + full_path);
    }
  } else {
    Info("Ablagepfad existiert nicht. Abgearbeitete Datei wird deshalb gelöscht: " + full_path);
    remove = true;
  }
  if (remove) {
    try {
      fs.DeleteFile(full_path);
    } catch (...) {
      // Deleting is best effort.
    }
  }
}

}  // namespace kdzv
