' Scans the machine, or the folders that are named, and writes the report.
'
'   cscript //nologo nightly-scan.vbs DATA-FOLDER REPORT.xml [FOLDER...]
'
' DATA-FOLDER is where logs, history and quarantine lie. The report is UTF-16, so that every name is in it. Exit code:
' 0 nothing found, 1 something found, 2 the scan did not run to its end, 64 wrong arguments, 69 the engine is not
' registered, 73 the report can not be written.
Option Explicit

Const scandeep = 3

Dim arguments, engine, scanner, scan, files, report, i
Set arguments = WScript.Arguments
If arguments.Count < 2 Then
    WScript.Echo "usage: nightly-scan.vbs DATA-FOLDER REPORT.xml [FOLDER...]"
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
scanner.DoScanProcesses = (arguments.Count = 2)
scanner.DoMostCommon = (arguments.Count = 2)
scanner.DoScanRegistry = (arguments.Count = 2)
scanner.DoScanCookies = (arguments.Count = 2)
scanner.IsScheduledScan = True
scanner.optWriteHistory = True
For i = 2 To arguments.Count - 1
    scanner.AddScanDriveAndPath arguments(i)
Next

Dim complete
complete = scanner.RunScanEasy
Set scan = scanner.Scan

Set files = CreateObject("Scripting.FileSystemObject")
On Error Resume Next
Set report = files.CreateTextFile(arguments(1), True, True)
report.Write scan.ScanResultsFull
report.Close
If Err.Number <> 0 Then
    WScript.Echo "The report can not be written: " & arguments(1)
    WScript.Quit 73
End If
On Error GoTo 0

WScript.Echo scan.ScannedFileCount & " files, " & scan.DetectedThreatCount & " threats, " & scan.TotalScanTime
For i = 1 To scan.DetectedThreatCount
    WScript.Echo "  " & Mid(scan.GetDetectedThreat(i), 3)
Next
If Not complete Then
    WScript.Echo "aborted: " & scan.AbortReason
    WScript.Quit 2
End If
If scan.DetectedThreatCount > 0 Then
    WScript.Quit 1
End If
WScript.Quit 0
