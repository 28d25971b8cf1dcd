' The whole road of a client, late bound: road.vbs DATA-FOLDER MACHINE-FOLDER. Its last line tells that it ran to its end:
' an error ends a script in silence here.
Option Explicit

Dim checks, failures
checks = 0
failures = 0

Sub Check(what, is_, should)
    checks = checks + 1
    If is_ <> should Then
        failures = failures + 1
        WScript.Echo "FAILED " & what & ": is " & is_ & ", should be " & should
    End If
End Sub

Sub Contains(what, text, part)
    Check what & " has " & part, InStr(text, part) > 0, True
End Sub

Dim data, machine, files, shell
data = WScript.Arguments(0)
machine = WScript.Arguments(1)
Set files = CreateObject("Scripting.FileSystemObject")
Set shell = CreateObject("WScript.Shell")

' --- open
Dim info, engine, scanner
Set info = CreateObject("kelThreatEngine.Info")
Set engine = CreateObject("kelThreatEngine.Manager")
Check "Inititalize", engine.Inititalize, False
Check "Inititalize with arguments", engine.Inititalize(1, 1), False
Check "CurrentLanguage", engine.CurrentLanguage, 1
Check "CurrentVersionType", engine.CurrentVersionType, 1
Check "UserName", engine.UserName, shell.ExpandEnvironmentStrings("%USERNAME%")
Set scanner = engine.Scanner
scanner.UserDataRootPath = data
Check "UserDataRootPath", scanner.UserDataRootPath, data & "\"
Check "the same scanner", engine.Scanner Is scanner, True
Contains "Diagnostics", info.Diagnostics(False), "EngineVersion: "
Check "DBVersionThreatData", info.DBVersionThreatData, "2026.11.1"
Check "DBVersionScanData", info.DBVersionScanData, "2026.11.1"
engine.Settings.Save "name", "value"
Check "Settings keep nothing", engine.Settings.View("name"), ""

' --- the catalogue
Dim threats, threat
Set threats = engine.Threats
Check "GetThreatDisplayName", threats.GetThreatDisplayName(9003), "Example.KeyLogger.Inkwell"
Check "GetThreatDisplayName of the version", threats.GetThreatDisplayName(0), "2026.11.1"
Check "GetThreatCategory", threats.GetThreatCategory(9002), "Trojan"
Set threat = threats.GetThreatByThreatID(9006)
Check "ThreatLevel of a cookie", threat.ThreatLevel, 0
Check "GetThreatLevel of a cookie", threat.GetThreatLevel, 5
Check "an unknown threat", threats.GetThreatByThreatID(4) Is Nothing, True

' --- the ignore list
Dim ignored, number, sum
Set ignored = engine.IgnoredThreats
ignored.AddIgnoredThreat 9003
ignored.AddIgnoredThreat 9003
ignored.AddIgnoredThreat 9008
Check "GetIgnoredThreatCount", ignored.GetIgnoredThreatCount, 2
Check "IsIgnoredThreatID", ignored.IsIgnoredThreatID(9003), True
sum = 0
For Each number In ignored.GetIgnoredThreatIDs
    sum = sum + number
Next
Check "GetIgnoredThreatIDs", sum, 18011
Check "IsInititalized with a list", engine.IsInititalized, True
ignored.RemoveIgnoredThreat 9008
ignored.RemoveIgnoredThreat 9008
Check "GetIgnoredThreatCount behind a removal", ignored.GetIgnoredThreatCount, 1

' --- scan
Dim scan, identifier
Check "InitializeScan", scanner.InitializeScan, True
Check "OptMaxMD5Len", scanner.OptMaxMD5Len, 2500000
Set scan = scanner.Scan
identifier = scan.ScanID
Check "ScanID", Len(identifier), 30
files.CreateTextFile(scan.FolderPaths.PathCookies & "user@crumbtrail.example[1].txt", True).Close
shell.RegWrite "HKLM\SOFTWARE\Bannerbird Example\", ""
scanner.OptScanDepth = 3
scanner.DoDriveScan = True
scanner.DoScanRegistry = True
scanner.DoScanCookies = True
scanner.optWriteHistory = True
scanner.IsScheduledScan = True
scanner.AddScanDriveAndPath machine
Check "ScanDriveAndPathCount", scanner.ScanDriveAndPathCount, 1
Check "GetScanDriveAndPath", scanner.GetScanDriveAndPath(1), machine
Check "GetScanDriveAndPath of no place", scanner.GetScanDriveAndPath(0), ""
Check "RunScanEasy", scanner.RunScanEasy, True
Check "ScannerState", scanner.ScannerState, 9
Check "the same scan", scanner.Scan Is scan, True
Check "DetectedThreatCount", scan.DetectedThreatCount, 3
Check "ScannedFileCount", scan.ScannedFileCount, 4
Check "DetectedFileCount", scan.DetectedFileCount, 2
' The key, and its value.
Check "DetectedRegistryCount", scan.DetectedRegistryCount, 2
Check "DetectedCookieCount", scan.DetectedCookieCount, 1
Check "EndDate", scan.EndDate >= scan.StartDate, True
Check "an ignored threat is not detected", InStr(scan.ScanResultsFull, "Inkwell"), 0
Contains "GetDetectedThreat", scan.GetDetectedThreat(1), "2|Example."
On Error Resume Next
number = scan.GetDetectedThreat(99)
Check "GetDetectedThreat of no place fails", Err.Number <> 0, True
Err.Clear
number = scan.DetectedThreats.Item("none")
Check "an absent key fails", Err.Number <> 0, True
Err.Clear
On Error Goto 0
Contains "ScanResultsFiles", scan.ScanResultsFiles, machine
Contains "ScanResultsRegistry", scan.ScanResultsRegistry, "Bannerbird Example"
Contains "ScanResultsCookies", scan.ScanResultsCookies, "crumbtrail.example"
Contains "ScanResultsSummary", scan.ScanResultsSummary, "Example.Cookie.Crumbtrail"
Contains "ScanResultsFull", scan.ScanResultsFull, "Example.Trojan.Tinwhistle"
Check "ScanResultsFolders", Len(scan.ScanResultsFolders) > 0, True

Dim detected, location, seen
seen = 0
For Each detected In scan.DetectedThreats
    Check "Threat", detected.Threat.ThreatID, detected.ThreatID
    Check "found under its key", scan.DetectedThreats("ThreatID:" & detected.ThreatID) Is detected, True
    For Each location In detected.ThreatLocationFiles
        Check "DetectedFilePath", files.FileExists(location.DetectedFilePath), True
        Check "MD5", Len(location.MD5), 32
        seen = seen + 1
    Next
    For Each location In detected.ThreatLocationRegKeys
        Check "RegHive", location.RegHive, &H80000002
        Check "Regkey", location.Regkey, "SOFTWARE\Bannerbird Example"
        seen = seen + 1
    Next
    For Each location In detected.ThreatLocationCookies
        Check "Cookie", location.Cookie, "crumbtrail.example"
        seen = seen + 1
    Next
    seen = seen + detected.ThreatLocationFolders.Count + detected.ThreatLocationCustoms.Count
Next
Check "locations", seen, 5

' --- history
Dim history, detail, table, rows, field
Set history = engine.ScanHistory
Check "TotalScansRun", history.TotalScansRun, 1
Check "TotalThreatsDetected", history.TotalThreatsDetected, 5
Check "Count is 0", history.Count, 0
Check "GetLastScanID", history.GetLastScanID, identifier
Check "GetScanHistoryDetail of none", history.GetScanHistoryDetail("none") Is Nothing, True
Set detail = history.GetScanHistoryDetail(identifier)
Check "GetTotalDetectedLocationsCount", detail.GetTotalDetectedLocationsCount, 5
Set table = detail.DetectedThreats
rows = 0
Do Until table.EOF
    Check "row's scan", table.Fields("ScanID").Value, identifier
    Check "row's threat", table("Name"), threats.GetThreatDisplayName(table("DThreatID"))
    rows = rows + 1
    table.MoveNext
Loop
Check "rows", rows, 3
Check "RecordCount", table.RecordCount, 3
table.MoveFirst
Check "BOF", table.BOF, False
Check "Fields.Count", table.Fields.Count, 7
rows = ""
For Each field In table.Fields
    rows = rows & field.Name & " "
Next
Check "columns", rows, "ScanID Action DThreatID Name Category Level Desc "
table.Filter = "DThreatID=9001"
Check "Filter", table.RecordCount, 1
table.Filter = ""
Set table = history.GetScanHistoryDetails
Check "GetScanHistoryDetails", table.RecordCount, 1
Check "StartDate", IsDate(table.Fields("StartDate").Value), True
Set table = history.GetScanHistoryDetailsByDate(1999)
Check "GetScanHistoryDetailsByDate of no scan", table.RecordCount, 0
Set table = history.GetScanHistoryDetailsByDate(Year(Now))
Check "GetScanHistoryDetailsByDate", table.RecordCount, 1

' --- clean
Dim cleaner, quarantine, id, ids
Set cleaner = engine.Cleaner
Check "CleanerState", cleaner.CleanerState, 0
Check "InitializeClean", cleaner.InitializeClean(identifier, scan.DetectedThreats), 0
Check "CleanerState behind InitializeClean", cleaner.CleanerState, 1
cleaner.EnableLog = True
Check "EnableLog", cleaner.EnableLog, True
Check "DetectedThreats", cleaner.DetectedThreats Is scan.DetectedThreats, True
ids = ""
For Each detected In scan.DetectedThreats
    id = ""
    Check "QuarantineThreat", cleaner.QuarantineThreat(detected.ThreatID, False, id), 0
    Check "its identifier", Len(id), 30
    Check "DetectedThreatAction", detected.DetectedThreatAction, 1
    ids = ids & id & " "
Next
Check "QuarantineThreat of an unknown threat", cleaner.QuarantineThreat(4), 200
cleaner.UninitializeClean
Check "IsRebootRequired", cleaner.IsRebootRequired, False
Check "a removed file", files.FileExists(machine & "\bird.exe"), False
Check "the ignored file stays", files.FileExists(machine & "\ink.exe"), True

' --- the quarantine, and back
Set quarantine = engine.Quarantine
' That of the unknown threat is on record too.
Check "Count", quarantine.Count, 4
Check "GetQuarantineThreats", quarantine.GetQuarantineThreats.Count, 4
Check "QuarantineThreatExists", quarantine.QuarantineThreatExists(9001), True
Check "GetQuarantineThreatsByScanID", quarantine.GetQuarantineThreatsByScanID(identifier).Count, 4
Check "GetQuarantineThreatsByScanID of none", quarantine.GetQuarantineThreatsByScanID("none") Is Nothing, True
Check "GetQuarantineThreatsByCategory", quarantine.GetQuarantineThreatsByCategory("Trojan") Is Nothing, True
Check "GetQuarantineThreatsByDate", quarantine.GetQuarantineThreatsByDate.Count, 4
Contains "GetQuarantineXML", quarantine.GetQuarantineXML, "Example.Adware.Bannerbird"
id = quarantine.GetQuarantineThreatIDFromThreatID(9001)
Check "GetQuarantineThreatIDFromThreatID", InStr(ids, id) > 0, True
Set threat = quarantine.GetQuarantineThreat(id)
Check "QThreatLocationFiles", threat.QThreatLocationFiles.Count, 1
Check "OriginalFilePath", LCase(threat.QThreatLocationFiles(1).OriginalFilePath), LCase(machine & "\bird.exe")
Check "QThreatLocationRegKeys", threat.QThreatLocationRegKeys.Count, 2
Check "QThreat", threat.QThreat(9002).ThreatName, "Example.Trojan.Tinwhistle"
Check "RestoreThreat", quarantine.RestoreThreat(id), 0
Check "a restored file", files.FileExists(machine & "\bird.exe"), True
Check "RestoreThreat again", quarantine.RestoreThreat(id), 100
Check "DestroyThreat", quarantine.DestroyThreat(quarantine.GetQuarantineThreatIDFromThreatID(9002)), True
Check "Count behind them", quarantine.Count, 2
history.Persist
Set detail = history.GetLastScanHistoryDetail
Check "QuarantinedThreats", detail.QuarantinedThreats.RecordCount, 3

' --- one threat alone, the list, the end
Check "ThreatExists of an MD5", scanner.MD5ThreatExists("b48fe358795db0995c20ddec472f8725"), 9001
Check "CookieThreatExists", scanner.CookieThreatExists("crumbtrail.example"), 9006
Check "IsFileThreat", scanner.IsFileThreat(machine & "\bird.exe", "", 3), 9001
Contains "TranslateToVariablePath", cleaner.FolderPaths.TranslateToVariablePath("C:\windows\x.dll"), "%windows%\x.dll"
Check "ResolveFilePath", cleaner.FolderPaths.ResolveFilePath("kernel32.dll"), "c:\windows\system32\kernel32.dll"
Contains "ThreatList", scanner.ThreatList, "</ThreatListXML>"
Check "Threat.txt", files.FileExists(data & "\Threat.txt"), True
Check "ScanThreat", scanner.ScanThreat(9001, True), True
Check "no scan is left", scanner.Scan Is Nothing, True
Check "UnInititalize", engine.UnInititalize, False
Check "the catalogue stays", threats.GetThreatDisplayName(9003), "Example.KeyLogger.Inkwell"

WScript.Echo "road: " & checks & " checks, " & failures & " failed"
WScript.Quit failures
