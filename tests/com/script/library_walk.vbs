' The library as a script host uses it: classes created by ProgID,
' properties set and read, collections walked with For Each and read
' through their default member, the keyed list's errors caught through
' Err.Number, the settings object read back. Every check prints one line;
' the test compares the whole output with library_walk.expected. (The file is
' UTF-8; the test hands it to the script host in its ANSI code page,
' Windows-1252.)
Option Explicit

Dim failures : failures = 0

Sub Check(name, actual, expected)
  If actual = expected Then
    WScript.Echo "ok " & name
  Else
    WScript.Echo "FAIL " & name & ": [" & actual & "] <> [" & expected & "]"
    failures = failures + 1
  End If
End Sub

' --- Records ---
Dim termin : Set termin = CreateObject("kdZentavo.kdZVTermin")
termin.PatientName = "Weiß"
termin.PatientNeu = True
termin.TerminStart = DateSerial(2025, 3, 14) + TimeSerial(9, 30, 0)
termin.TerminStatus = 1
Check "Termin.PatientName", termin.PatientName, "Weiß"
Check "Termin.PatientNeu", termin.PatientNeu, True
Check "Termin.TerminStart", termin.TerminStart, DateSerial(2025, 3, 14) + TimeSerial(9, 30, 0)
Check "Termin.TerminStatus", termin.TerminStatus, 1

Dim calendar : Set calendar = CreateObject("kdZentavo.kdZVCalendar")
calendar.BehandlerIDHX = "17"
Check "Calendar.BehandlerIDHX from text", calendar.BehandlerIDHX, 17
Check "Calendar.BehandlerIDHX is a Long", TypeName(calendar.BehandlerIDHX), "Long"

' --- Collections ---
Dim zeiten : Set zeiten = CreateObject("kdZentavo.kdZVBelegungsZeiten")
zeiten.Add 15, TimeSerial(9, 0, 0), "frueh"
zeiten.Add 30, TimeSerial(12, 0, 0)
zeiten.Add 45, TimeSerial(16, 0, 0), "spaet"
Check "Zeiten.Count", zeiten.Count, 3
Check "Zeiten(2) default member", zeiten(2).Dauer, 30
Check "Zeiten(""SPAET"") by key", zeiten("SPAET").Dauer, 45
Check "Zeiten.Item(1)", zeiten.Item(1).Dauer, 15
Dim zeit, total, order : total = 0 : order = ""
For Each zeit In zeiten
  total = total + zeit.Dauer
  order = order & zeit.Dauer & " "
Next
Check "For Each total", total, 90
Check "For Each order", order, "15 30 45 "
Check "Same element, same object", zeiten(1) Is zeiten("frueh"), True

On Error Resume Next
Dim missing
Set missing = zeiten("mittag")
Check "Unknown key: Err.Number", Err.Number, 5
Check "Unknown key: Err.Description", Err.Description, "Invalid procedure call or argument"
Err.Clear
Set missing = zeiten(4)
Check "Position 4 of 3: Err.Number", Err.Number, 9
Check "Position 4 of 3: Err.Description", Err.Description, "Subscript out of range"
Err.Clear
zeiten.Add 5, TimeSerial(8, 0, 0), "FRUEH"
Check "Key twice: Err.Number", Err.Number, 457
Check "Key twice: Err.Description", Err.Description, _
      "This key is already associated with an element of this collection"
Err.Clear
zeiten.Remove 0
Check "Remove 0: Err.Number", Err.Number, 9
Err.Clear
On Error GoTo 0
Check "Count after the errors", zeiten.Count, 3
zeiten.Remove "frueh"
zeiten.Remove 1
Check "Count after Remove", zeiten.Count, 1
Check "What is left", zeiten(1).Dauer, 45

Dim belegungen : Set belegungen = CreateObject("kdZentavo.kdZVBelegungen")
Dim belegung : Set belegung = belegungen.Add(7, 3, DateSerial(2025, 3, 14), "a")
Check "Belegung.MethodeID", belegung.MethodeID, 7
Check "Belegungen(""A"") Is belegung", belegungen("A") Is belegung, True
Check "Zeiten Is Zeiten", belegung.Zeiten Is belegung.Zeiten, True
Set belegung.Zeiten = zeiten
Check "Zeiten set by reference", belegung.Zeiten Is zeiten, True

' --- Settings ---
Dim zv : Set zv = CreateObject("kdZentavo.kdZVInterface")
Dim settings : Set settings = zv.Settings
Check "Settings Is Settings", zv.Settings Is settings, True
' The settings are the user's: what the script changes it puts back.
Dim oldName, oldLog : oldName = settings.SystemName : oldLog = settings.DoLog
settings.SystemName = "Skript ö"
settings.DoLog = False
Check "Settings.SystemName", zv.Settings.SystemName, "Skript ö"
Dim stored : Set stored = CreateObject("kdZentavo.clZVSettings")
Check "A new settings object reads the store", stored.SystemName, "Skript ö"
Set zv.Settings = stored
Check "Settings set by reference", zv.Settings Is stored, True
Check "Settings.DoLog", stored.DoLog, False
stored.SystemName = oldName
stored.DoLog = oldLog
Check "Settings put back", CreateObject("kdZentavo.clZVSettings").SystemName, oldName

WScript.Echo "failures: " & failures
