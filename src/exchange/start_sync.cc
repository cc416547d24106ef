// StartSync: checks the log and the folders, clears left-over files into
// the depot, shows the sync window, opens the exchange and waits until it
// has ended, timed out or been cancelled.
#include "interface/component_log.h"
#include "interface/error_report.h"
#include "interface/process.h"
#include "exchange/kd_zv_interface.h"
#include "util/text.h"

namespace kdzv {

namespace {

constexpr std::string_view kSettingsDialogIsOpen =
    "Die Synchronisation kann nicht gestartet werden, solange der Einstellungsdialog geöffnet ist.";
constexpr std::string_view kSyncAlreadyRunning =
    "Es läuft bereits eine Synchronisation: StartSync wurde während dieser erneut aufgerufen und "
    "abgewiesen.";

constexpr std::string_view kCheckSettings =
    "\r\n\r\nBitte überprüfen Sie Ihre Einstellungen für die Schnittstelle zu Zentavo.";

}  // namespace

void kdZVInterface::ShowMessage(const std::string& text) {
  ports_.user_interface.ShowMessageBox(text, msgbox::kOkOnly | msgbox::kExclamation,
                                       kComponentTitle);
  WriteLogLine("MELDUNG: " + text);
}

enmZVRetValues kdZVInterface::StartSync(intptr_t mOwner, std::string& sErr) {
  // One exchange at a time in the whole process: a call from inside the
  // running one (a host's event handler runs within its wait), or of another
  // interface object while one runs (the host's windows stay live during the
  // wait), is refused and changes nothing.
  if (in_sync_ || process::ExchangeRunning()) {
    sErr = std::string(kSyncAlreadyRunning);
    WriteLogLine("(StartSync) -> " + sErr);
    return ZV_Error_General;
  }
  // Nor while the settings dialog is open (the host calls from one of its
  // events): the settings it shows are not yet decided.
  if (settings_form_) {
    sErr = std::string(kSettingsDialogIsOpen);
    WriteLogLine("(StartSync) -> " + sErr);
    return ZV_Error_General;
  }
  in_sync_ = true;
  process::SetExchangeRunning(true);
  struct Leave {
    bool& flag;
    ~Leave() {
      flag = false;
      process::SetExchangeRunning(false);
    }
  } leave{in_sync_};
  try {
    sErr.clear();
    if (!CheckLogAccess("(StartSync) -> aufgerufen", sErr)) return ZV_Error_LogFileAccess;

    FileSystem& fs = ports_.file_system;
    const std::shared_ptr<clZVSettings> settings = Settings();
    const std::string download = settings->DownloadPath();
    const std::string upload = settings->UploadPath();
    const std::string depot = settings->AblagePath();

    WriteLogLine("(StartSync) -> Überprüfen Einstellungen: Download");
    if (!fs.FolderExists(download)) {
      WriteLogLine("(StartSync) -> Fehler: Downloadpfad existiert nicht: " + download);
      ShowMessage("Fehler: Der eingestellte Downloadpfad existiert nicht: " + download +
                  std::string(kCheckSettings));
      return ZV_Error_PathNotExist;
    }
    WriteLogLine("(StartSync) -> Überprüfen Einstellungen: Upload");
    if (!fs.FolderExists(upload)) {
      WriteLogLine("(StartSync) -> Fehler: Uploadpfad existiert nicht: " + upload);
      ShowMessage("Fehler: Der eingestellte Uploadpfad existiert nicht: " + upload +
                  std::string(kCheckSettings));
      return ZV_Error_PathNotExist;
    }

    // The prefix becomes part of every file name of the exchange: a stored
    // text that could name a file elsewhere is refused before anything is
    // written or moved.
    const std::string prefix = settings->FilePraefix();
    if (!IsPlainFileNamePart(prefix)) {
      WriteLogLine("(StartSync) -> Fehler: Ungültiges Datei-Präfix: " + prefix);
      ShowMessage("Fehler: Das eingestellte Session-Präfix \"" + prefix +
                  "\" kann nicht Teil eines Dateinamens sein. Erlaubt sind höchstens " +
                  std::to_string(kMaxFileNamePart) +
                  " Byte ohne Verzeichnistrenner, ohne Steuerzeichen und ohne die Zeichen "
                  ": * ? \" < > |; \".\" und \"..\" allein sind nicht erlaubt." +
                  std::string(kCheckSettings));
      return ZV_Error_General;
    }

    if (!fs.ListFiles(download).empty()) {
      WriteLogLine("(StartSync) -> Der Downloadpfad ist nicht leer: " + download);
      WriteLogLine("(StartSync) -> Dateien werden verschoben nach: " + depot);
      const int32_t moved = TryMoveFilesToDepot(download, depot);
      if (moved != 0) return static_cast<enmZVRetValues>(moved);
    }
    if (!fs.ListFiles(upload).empty()) {
      WriteLogLine("(StartSync) -> Der Uploadpfad ist nicht leer: " + upload);
      WriteLogLine("(StartSync) -> Dateien werden verschoben nach: " + depot);
      const int32_t moved = TryMoveFilesToDepot(upload, depot);
      if (moved != 0) return static_cast<enmZVRetValues>(moved);
    }

    WriteLogLine("(StartSync) -> Anzeigefenster wird geladen");
    if (!sync_form_) sync_form_ = std::make_unique<frmZVSync>(ports_.window, fs, *this);
    sync_form_->ClearLog();
    cancelled_ = false;
    finished_ = false;
    timed_out_ = false;
    sync_form_->Show(mOwner);

    if (!StartNewSession(prefix)) cancelled_ = true;
    while (!cancelled_ && !finished_ && !timed_out_) ports_.pump.RunPending(kWaitSliceMs);
    sync_form_->StopWatch();

    enmZVRetValues result = ZV_Success;
    if (cancelled_) {
      Info("Synchronisation abgebrochen.");
      result = ZV_Error_Cancel;
    } else if (timed_out_) {
      Info("Synchronisation aufgrund einer Zeitüberschreitung abgebrochen.");
      result = ZV_Error_TimeOut;
    } else {
      Info("Synchronisation erfolgreich abgeschlossen.");
    }
    if (sync_form_) {
      sync_form_->Unload();
      sync_form_.reset();
    }
    if (result == ZV_Success) Housekeeping();
    WriteLogLine("(StartSync) -> Rückgabewert " + std::to_string(static_cast<int32_t>(result)));
    return result;
  } catch (...) {
    ReportCurrentError(kInterfaceModuleName, "StartSync", "");
    if (sync_form_) {
      sync_form_->Unload();
      sync_form_.reset();
    }
    return ZV_Error_General;
  }
}

int32_t kdZVInterface::TryMoveFilesToDepot(const std::string& source, const std::string& target) {
  FileSystem& fs = ports_.file_system;
  WriteLogLine("(TryMoveFilesToDepot) -> Verschieben der Dateien - Quelle: " + source +
               ", Ziel: " + target);
  for (const std::string& name : fs.ListFiles(source)) {
    WriteLogLine("-> Datei wird verschoben: " + name);
    const std::string from = fs.BuildPath(source, name);
    // A file that another process still holds open (an agent writing it) is
    // never moved away under its writer: it stays where it is, as in the
    // intake, and counts as a file that could not be moved. A read-only
    // left-over is taken like any other.
    if (fs.HeldByAnotherProcess(from)) {
      WriteLogLine("Die Datei kann nicht exklusiv geöffnet werden und bleibt liegen: " + from);
      continue;
    }
    try {
      // An empty depot setting is no folder: it is never joined into a path
      // (which would copy into the working folder or a drive's root).
      if (target.empty()) RaiseStandard(err::kPathNotFound, "TryMoveFilesToDepot");
      // Copied with overwrite, so that an older file of that name in the
      // depot gives way; a missing depot fails the copy, which is reported.
      fs.CopyFile(from, fs.BuildPath(target, name));
      fs.DeleteFile(from);
    } catch (...) {
      ReportCurrentError(kInterfaceModuleName, "TryMoveFilesToDepot", "File=" + name);
    }
  }
  if (fs.ListFiles(source).empty()) return 0;
  const std::string text = "Achtung: Es konnten nicht alle Dateien verschoben werden.\r\nQuelle: " +
                           source + "\r\nZiel: " + target;
  WriteLogLine(text);
  ports_.user_interface.ShowMessageBox(text, msgbox::kOkOnly | msgbox::kExclamation,
                                       kComponentTitle);
  return ZV_Error_PathNotEmpty;
}

}  // namespace kdzv
