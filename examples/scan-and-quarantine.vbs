' Scans folders and puts what it finds into the quarantine.
'
'   cscript //nologo scan-and-quarantine.vbs DATA-FOLDER FOLDER...
'
' Exit code: 0 nothing is left, 1 a threat could not be removed, 3 the machine has to be started again to finish, 64
' wrong arguments, 69 the engine is not registered.
Option Explicit

Const scandeep = 3
Const errNone = 0

Dim arguments, engine, scanner, scan, cleaner, threat, id, outcome, failed, i
Set arguments = WScript.Arguments
If arguments.Count < 2 Then
    WScript.Echo "usage: scan-and-quarantine.vbs DATA-FOLDER FOLDER..."
    WScript.Quit 64
End If

On Error Resume Next
Set engine = CreateObject("kelThreatEngine.Manager")
If Err.Number <> 0 Then
    WScript.Echo "The engine is not registered: kelThreatEngine.exe /RegServer does that."
    WScript.Quit 69
End If
On Error GoTo 0
engine.Inititalize
Set scanner = engine.Scanner
scanner.UserDataRootPath = arguments(0)
scanner.InitializeScan
scanner.OptScanDepth = scandeep
scanner.DoDriveScan = True
scanner.optWriteHistory = True
For i = 1 To arguments.Count - 1
    scanner.AddScanDriveAndPath arguments(i)
Next
scanner.RunScanEasy
Set scan = scanner.Scan

Set cleaner = engine.Cleaner
cleaner.InitializeClean scan.ScanID, scan.DetectedThreats
cleaner.EnableLog = True
failed = 0
For Each threat In scan.DetectedThreats
    id = ""
    outcome = cleaner.QuarantineThreat(threat.ThreatID, False, id)
    If outcome = errNone Then
        WScript.Echo "removed " & threat.Threat.ThreatName & ", quarantine " & id
    Else
        WScript.Echo "not removed " & threat.Threat.ThreatName & ", error " & outcome
        failed = failed + 1
    End If
Next
cleaner.UninitializeClean
engine.ScanHistory.Persist

WScript.Echo scan.DetectedThreatCount & " threats, " & failed & " not removed"
If failed > 0 Then
    WScript.Quit 1
End If
If cleaner.IsRebootRequired Then
    WScript.Echo "The rest is removed at the next start of the machine."
    WScript.Quit 3
End If
WScript.Quit 0
