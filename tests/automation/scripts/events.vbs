' Events in VBScript, for the host of tests/automation/scripthost: events.vbs DATA-FOLDER MACHINE-FOLDER. Written from
' docs/automation.md alone.
Option Explicit

Dim manager, scanner, scan, cleaner, quarantine, locations, detected, asked, aborted, stopAfter, detectedText
Dim begun, ended, details, threat, id, inside

Sub Watch_StartingLocation(location, scanType, count)
    locations = locations + 1
    ' A call from inside an event gets in.
    If manager.Scanner.ScannerState > 0 Then inside = inside + 1
End Sub

Sub Watch_ThreatDetected(location, scanType, threatID, found)
    detected = detected + 1
    detectedText = detectedText & " " & threatID & "/" & scanType & "/" & found
End Sub

Sub Watch_ScanAborted(reason)
    aborted = aborted & "[" & reason & "]"
End Sub

Sub Watch_RequestScanAbort(abort)
    asked = asked + 1
    If stopAfter > 0 And asked >= stopAfter Then abort = True
End Sub

Sub Clean_StartThreatClean(name)
    begun = begun & " " & name
End Sub

Sub Clean_FinishedThreatClean(name)
    ended = ended & " " & name
End Sub

Sub Clean_VerboseDetails(name, text)
    If name <> "" And text <> "" Then details = details + 1
End Sub

Sub Clear()
    locations = 0: detected = 0: asked = 0: inside = 0: aborted = "": detectedText = ""
End Sub

Function YesNo(value)
    If value Then YesNo = "yes" Else YesNo = "no"
End Function

Function NewScan()
    scanner.InitializeScan
    scanner.OptScanDepth = 3
    scanner.DoDriveScan = True
    WScript.ConnectObject scanner.Scan.Callback, "Watch_"
    Set NewScan = scanner.Scan
End Function

Set manager = WScript.CreateObject("kelThreatEngine.Manager")
manager.Inititalize
Set scanner = manager.Scanner
scanner.UserDataRootPath = WScript.Arguments(0)
scanner.AddScanDriveAndPath WScript.Arguments(1)

Clear
stopAfter = 0
Set scan = NewScan()
WScript.Echo "run: " & YesNo(scanner.RunScanEasy())
WScript.Echo "each location once: " & YesNo(locations = scan.ScannedFileCount And locations > 0)
WScript.Echo "asked at each: " & YesNo(asked >= locations) & ", calls from inside: " & YesNo(inside = locations)
WScript.Echo "detected: " & detected & " of " & scan.DetectedThreatCount & ", counts" & Right(detectedText, 2)
WScript.Echo "aborted: " & aborted

Set cleaner = manager.Cleaner
cleaner.InitializeClean scan.ScanID, scan.DetectedThreats
begun = "": ended = "": details = 0
WScript.ConnectObject cleaner.Callback, "Clean_"
For Each threat In scan.DetectedThreats
    If threat.ThreatID = 9001 Then cleaner.QuarantineThreat threat.ThreatID, False, id
Next
WScript.Echo "cleaned:" & begun & "," & ended & ", details: " & YesNo(details > 0)
WScript.DisconnectObject cleaner.Callback
cleaner.UninitializeClean
WScript.Echo "back: " & manager.Quarantine.RestoreThreat(id) & ", and in silence:" & begun

Clear
stopAfter = 2
Set scan = NewScan()
WScript.Echo "stopped: " & YesNo(Not scanner.RunScanEasy()) & " after " & asked & ", told" & aborted & _
    ", reason" & scan.AbortReason

WScript.Echo "end of the events"
WScript.Quit 8
