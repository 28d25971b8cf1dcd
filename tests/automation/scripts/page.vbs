' The whole road of a client, in VBScript: page.vbs USERDATA. Prints what it saw; page.js prints the same.
' Written from docs/automation.md alone: what that page does not tell, this script does not know.
Option Explicit

Dim files, manager, scanner, userData
Set files = CreateObject("Scripting.FileSystemObject")
userData = WScript.Arguments(0)

Sub Say(name, value)
    WScript.Echo name & ": " & value
End Sub

Function YesNo(value)
    If value Then YesNo = "yes" Else YesNo = "no"
End Function

Function Has(text, part)
    Has = YesNo(InStr(text, part) > 0)
End Function

' Items in the order of their texts: the order in which things are found is not promised.
Sub SaySorted(name, texts)
    Dim keys, i, j, held
    keys = texts.Keys
    For i = 0 To UBound(keys) - 1
        For j = i + 1 To UBound(keys)
            If StrComp(keys(j), keys(i), 0) < 0 Then held = keys(i): keys(i) = keys(j): keys(j) = held
        Next
    Next
    Say name, texts.Count
    For i = 0 To UBound(keys)
        WScript.Echo "  " & keys(i)
    Next
End Sub

Sub SayPlanted(name)
    Dim place, there
    there = ""
    For Each place In Array("C:\downloads\song.exe", "C:\downloads\whistle.dll", "C:\downloads\ink.exe", _
            "C:\windows\compass.ini")
        If files.FileExists(place) Then there = there & "1" Else there = there & "0"
    Next
    Say name, there
End Sub

Function RunValue()
    On Error Resume Next
    CreateObject("WScript.Shell").RegRead "HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Run\Tinwhistle Example"
    RunValue = YesNo(Err.Number = 0)
    On Error GoTo 0
End Function

Function NewScan()
    scanner.InitializeScan
    scanner.OptScanDepth = 3
    scanner.OptMaxOptionLevel = 2
    scanner.DoScanProcesses = True
    scanner.DoMostCommon = True
    scanner.DoDriveScan = True
    scanner.DoScanRegistry = True
    scanner.DoScanCookies = True
    scanner.DoScanZips = True
    scanner.optWriteHistory = True
    scanner.IsScheduledScan = True
    Say "run", YesNo(scanner.RunScanEasy)
    Set NewScan = scanner.Scan
End Function

Sub SayThreats(scan)
    Dim seen, threat, place, i, byPlace, byKey
    Set seen = CreateObject("Scripting.Dictionary")
    For Each threat In scan.DetectedThreats
        seen.Add threat.ThreatID & " " & threat.Threat.ThreatName & ", type " & threat.ScanType & ", level " & _
            threat.OptionLevel & ", action " & threat.DetectedThreatAction & ", of this scan " & _
            YesNo(threat.ScanID = scan.ScanID), 0
        For Each place In threat.ThreatLocationFiles
            seen.Add threat.ThreatID & " file " & LCase(place.DetectedFilePath) & " " & LCase(place.MD5) & " level " & _
                place.OptionLevel, 0
        Next
        For Each place In threat.ThreatLocationFolders
            seen.Add threat.ThreatID & " folder " & LCase(place.DetectedFolderPath), 0
        Next
        For Each place In threat.ThreatLocationCookies
            seen.Add threat.ThreatID & " cookie " & place.Cookie & " " & _
                YesNo(files.FileExists(place.DetectedFilePath)), 0
        Next
        For Each place In threat.ThreatLocationRegKeys
            seen.Add threat.ThreatID & " registry " & place.RegHive & " " & place.Regkey & " [" & place.RegValueName & _
                "] " & place.RegValueData, 0
        Next
        seen.Add threat.ThreatID & " customs " & threat.ThreatLocationCustoms.Count, 0
    Next
    SaySorted "threats and places", seen

    byPlace = 0: byKey = 0
    For i = 1 To scan.DetectedThreats.Count
        Set threat = scan.DetectedThreats.Item(i)
        If threat.ThreatID = scan.DetectedThreats(i).ThreatID Then byPlace = byPlace + 1
        If scan.DetectedThreats("threatid:" & threat.ThreatID).ThreatID = threat.ThreatID Then byKey = byKey + 1
        If scan.GetDetectedThreat(i) <> threat.ScanType & "|" & threat.Threat.ThreatName Then Say "other text", i
    Next
    Say "by place, by key, count", byPlace & " " & byKey & " " & scan.DetectedThreatCount
    On Error Resume Next
    place = scan.GetDetectedThreat(scan.DetectedThreatCount + 1)
    Say "behind the last fails", YesNo(Err.Number <> 0)
    Err.Clear
    Set place = scan.DetectedThreats.Item("ThreatID:1")
    Say "unknown key fails", YesNo(Err.Number <> 0)
    On Error GoTo 0
End Sub

' What the columns of a table are, and how many rows For Each and the moves see.
Sub SayTable(name, table)
    Dim column, columns, rows
    columns = ""
    For Each column In table.Fields
        columns = columns & " " & column.Name & "/" & column.Type
    Next
    rows = 0
    If table.RecordCount > 0 Then table.MoveFirst
    Do Until table.EOF
        rows = rows + 1
        table.MoveNext
    Loop
    Say name, table.RecordCount & " " & rows & columns
End Sub

' ---- beginning
Set manager = CreateObject("kelThreatEngine.Manager")
Say "initialised", YesNo(manager.Inititalize(1, 1)) & " " & YesNo(manager.IsInititalized()) & " " & _
    manager.CurrentLanguage & " " & manager.CurrentVersionType
Say "user", YesNo(manager.UserName = CreateObject("WScript.Shell").ExpandEnvironmentStrings("%USERNAME%"))
Say "administrator", YesNo(manager.HasAdminPermission)
Set scanner = manager.Scanner
Say "before", YesNo(scanner.Scan Is Nothing) & " state " & scanner.ScannerState
scanner.UserDataRootPath = userData
Say "user data", YesNo(LCase(scanner.UserDataRootPath) = LCase(userData) Or _
    LCase(scanner.UserDataRootPath) = LCase(userData & "\"))
SayPlanted "planted"

' ---- catalogue, versions, settings
Dim info, threats, record, line
Set info = CreateObject("kelThreatEngine.Info")
Say "versions", info.DBVersionThreatData() & " " & info.DBVersionScanData()
Say "diagnostics", YesNo(InStr(info.Diagnostics(True), ":") > 0)
Set threats = manager.Threats
Say "names", threats.GetThreatDisplayName(9001) & " " & threats.GetThreatDisplayName(0) & " [" & _
    threats.GetThreatDisplayName(1) & "] " & threats.GetThreatCategory(9003) & " " & threats.GetThreatThreatType(9004)
Set record = threats.GetThreatByThreatID(9001)
Say "record", record.ThreatID & " " & record.ThreatName & " " & record.Category & " " & record.ThreatType & " " & _
    record.Author & " " & record.AuthorURL & " " & record.ThreatLevel & " " & record.GetThreatLevel() & " " & _
    record.CustomRemovalType & " " & YesNo(record.CanQuarantine) & " " & YesNo(record.ThreatLocationFiles Is Nothing)
Say "its texts", YesNo(record.GetDescriptionDisplay() = record.DescriptionShort) & " " & _
    YesNo(Len(record.GetThreatLevelDisplayName()) > 0) & " " & YesNo(Len(record.GetCategoryDescription()) > 0)
Say "level of the category", threats.GetThreatByThreatID(9003).ThreatLevel & " " & _
    YesNo(threats.GetThreatByThreatID(9003).GetThreatLevel() > 0)
Say "unknown", YesNo(threats.GetThreatByThreatID(1) Is Nothing)
manager.Settings.Save "name", "value"
Say "settings", "[" & manager.Settings.View("name") & "]"
manager.Settings.Delete "name"

' ---- single questions, and the scan
Dim scan, firstID
scanner.InitializeScan
Say "questions", scanner.MD5ThreatExists("b48fe358795db0995c20ddec472f8725") & " " & _
    scanner.FilePathThreatExists("%windows%\compass.ini") & " " & _
    scanner.CookieThreatExists("crumbtrail.example") & " " & _
    scanner.FolderThreatExists("%program_files%\bannerbird") & " " & _
    scanner.IsFileThreat("C:\downloads\ink.exe", "", 3) & _
    " " & scanner.IsFolderThreat("C:\windows") & " " & scanner.FileThreatExists("ink.exe")
scanner.AddScanDriveAndPath "C:\downloads\"
Say "to walk", scanner.ScanDriveAndPathCount() & " " & scanner.GetScanDriveAndPath(1) & " [" & _
    scanner.GetScanDriveAndPath(2) & "]"
Set scan = NewScan()
firstID = scan.ScanID
Say "scan", Len(scan.ScanID) & " [" & scan.AbortReason & "] " & YesNo(scan.IsScheduledScan) & " " & _
    YesNo(scan.EndDate >= scan.StartDate) & " state " & scanner.ScannerState
Say "scanned", YesNo(scan.ScannedProcessCount > 0) & " " & YesNo(scan.ScannedFileCount > 0) & " " & _
    YesNo(scan.ScannedRegistryCount > 0) & " " & scan.ScannedCookieCount
Say "detected", scan.DetectedProcessCount & " " & scan.DetectedFileCount & " " & scan.DetectedRegistryCount & " " & _
    scan.DetectedCookieCount & " " & scan.DetectedFolderCount
SayThreats scan
Say "reports", Has(scan.ScanResultsSummary(), "Example.Adware.Bannerbird") & " " & _
    Has(LCase(scan.ScanResultsFiles()), "c:\downloads\song.exe") & " " & _
    Has(scan.ScanResultsRegistry(), "Tinwhistle Example") & " " & _
    Has(scan.ScanResultsCookies(), "crumbtrail.example") & _
    " " & Has(LCase(scan.ScanResultsFull()), "c:\windows\compass.ini") & " " & YesNo(Len(scan.ScanResultsFolders()) > 0)
Say "folders", LCase(scan.FolderPaths.PathWindows) & " " & _
    scan.FolderPaths.TranslateFromVariablePath("%windows%\compass.ini") & " " & _
    scan.FolderPaths.TranslateToVariablePath("C:\windows\compass.ini")
Say "path of a file", LCase(scan.GetFilePathFromDetectedFile(9003, "564ee6e0c4ed6302803753eb53f2d7f8"))
Say "level of a file", scan.GetFileOptionLevel("564ee6e0c4ed6302803753eb53f2d7f8", "")

' ---- ignore list
Dim ignored, number, numbers
Set ignored = manager.IgnoredThreats
ignored.AddIgnoredThreat 9003
ignored.AddIgnoredThreat 9003
ignored.AddIgnoredThreat 9005
numbers = ""
For Each number In ignored.GetIgnoredThreatIDs()
    numbers = numbers & number & " "
Next
Say "ignored", numbers & ignored.GetIgnoredThreatCount() & " " & YesNo(ignored.IsIgnoredThreatID(9003)) & " " & _
    YesNo(ignored.IsIgnoredThreatID(9001)) & " " & YesNo(manager.IsInititalized())
scanner.ResetScan
Say "a reset forgets the folders", scanner.ScanDriveAndPathCount()
scanner.AddScanDriveAndPath "C:\downloads\"
Set scan = NewScan()
Say "found but ignored", scan.DetectedThreatCount
On Error Resume Next
Set record = scan.DetectedThreats("ThreatID:9003")
Say "9003 is left out", YesNo(Err.Number <> 0)
On Error GoTo 0
ignored.RemoveIgnoredThreat 9003
ignored.RemoveIgnoredThreat 9005
Say "ignored", ignored.GetIgnoredThreatCount()

' ---- clean
Dim cleaner, threat, id, answer, cleaned
Set scan = NewScan()
Set cleaner = manager.Cleaner
Say "cleaner", cleaner.CleanerState & " " & cleaner.QuarantineThreat(9001)
Say "initialised", cleaner.InitializeClean(scan.ScanID, scan.DetectedThreats) & " " & cleaner.CleanerState & " " & _
    cleaner.DetectedThreats.Count
Set cleaned = CreateObject("Scripting.Dictionary")
For Each threat In scan.DetectedThreats
    id = ""
    answer = cleaner.QuarantineThreat(threat.ThreatID, False, id)
    cleaned.Add threat.ThreatID & " answer " & answer & " identifier " & _
        YesNo(id <> "" And id = manager.Quarantine.GetQuarantineThreatIDFromThreatID(threat.ThreatID)) & " action " & _
        threat.DetectedThreatAction, 0
Next
cleaner.UninitializeClean
SaySorted "cleaned", cleaned
Say "reboot", YesNo(cleaner.IsRebootRequired)
SayPlanted "after the cleaning"
Say "run value", RunValue()

' ---- quarantine
Dim quarantine, listed, item, place, firstText
Set quarantine = manager.Quarantine
Say "quarantine", quarantine.Count() & " " & YesNo(quarantine.QuarantineThreatExists(9001)) & " " & _
    YesNo(quarantine.QuarantineThreatExists(1)) & " " & _
    quarantine.GetQuarantineThreatsByScanID(scan.ScanID).Count & " " & _
    YesNo(quarantine.GetQuarantineThreatsByScanID("none") Is Nothing) & " " & _
    quarantine.GetQuarantineThreatsByDate().Count & " " & _
    YesNo(quarantine.GetQuarantineThreatsByCategory("Adware") Is Nothing)
Set listed = CreateObject("Scripting.Dictionary")
For Each item In quarantine.GetQuarantineThreats()
    listed.Add item.ThreatID & " " & item.ThreatName & ", " & item.Category & ", of this scan " & _
        YesNo(item.ScanID = scan.ScanID) & ", identifier " & Len(item.QuarantineThreatID) & ", dated " & _
        YesNo(Len(item.QuarantineDate) > 0) & ", folder " & YesNo(Len(item.QuarantinePath) > 0), 0
    Set record = quarantine.GetQuarantineThreat(item.QuarantineThreatID)
    For Each place In record.QThreatLocationFiles
        listed.Add item.ThreatID & " file " & LCase(place.OriginalFilePath) & " named " & _
            YesNo(Len(place.QuarantineFileName) > 0), 0
    Next
    For Each place In record.QThreatLocationFolders
        listed.Add item.ThreatID & " folder " & LCase(place.OriginalFolderPath), 0
    Next
    For Each place In record.QThreatLocationCookies
        listed.Add item.ThreatID & " cookie named " & YesNo(Len(place.QuarantineFileName) > 0), 0
    Next
    For Each place In record.QThreatLocationRegKeys
        listed.Add item.ThreatID & " registry " & place.RegHive & " " & place.Regkey & " [" & _
            place.RegValueName & "] " & _
            place.RegValueData & " type " & place.RegValueDataType, 0
    Next
Next
SaySorted "in the quarantine", listed
Say "its XML", Has(quarantine.GetQuarantineXML(), "Example.Adware.Bannerbird")
Set record = quarantine.GetQuarantineThreatByThreatID(9002)
Say "catalogue's record", record.QThreat(9002).ThreatName & " " & YesNo(record.QThreat(1) Is Nothing)
Say "unknown", YesNo(quarantine.GetQuarantineThreat("none") Is Nothing) & " " & _
    YesNo(quarantine.QuarantineThreatIDExists("none")) & " " & _
    YesNo(quarantine.QuarantineThreatIDExists(record.QuarantineThreatID))

' ---- restore
Dim answers
answers = ""
For Each item In quarantine.GetQuarantineThreats()
    answers = answers & " " & quarantine.RestoreThreat(item.QuarantineThreatID)
Next
Say "restored", quarantine.Count() & answers
SayPlanted "after the return"
Say "run value", RunValue()

' ---- again, and this time for good
Set scan = NewScan()
Say "found again", scan.DetectedThreatCount
cleaner.InitializeClean scan.ScanID, scan.DetectedThreats
Say "quarantined", cleaner.QuarantineThreat(9002, False, id)
Say "destroyed at once", cleaner.DestroyThreat(9005)
cleaner.UninitializeClean
Say "destroyed", YesNo(manager.Quarantine.DestroyThreat(id)) & " " & manager.Quarantine.Count() & " " & _
    YesNo(manager.Quarantine.QuarantineThreatIDExists(id))
SayPlanted "for good"

' ---- history
Dim history, detail, table
Set history = manager.ScanHistory
Say "history", history.TotalScansRun() & " " & YesNo(history.GetLastScanID() = scan.ScanID) & " " & _
    history.Count() & " " & _
    YesNo(history.GetLastScanHistoryDetail().ScanID = scan.ScanID) & " " & YesNo(Len(history.GetLastScanDate()) > 0)
Set table = history.GetScanHistoryDetails()
SayTable "scans", table
table.Filter = "ScanID = '" & firstID & "'"
table.MoveFirst
Say "filtered", table.RecordCount & " " & YesNo(table.Fields("ScanID").Value = firstID) & " " & _
    YesNo(table("ScanID") = firstID) & " " & YesNo(table.Fields(0).Name = "ScanID") & " " & _
    table.Fields("DetectedFileCount")
table.Filter = ""
table.MoveLast
Say "last", YesNo(table.EOF) & " " & YesNo(table.BOF)
Say "by date", history.GetScanHistoryDetailsByDate(Year(Now)).RecordCount & " " & _
    history.GetScanHistoryDetailsByDate(1999).RecordCount
history.GetScanHistoryDetails().Filter = ""
Set detail = history.GetScanHistoryDetail(firstID)
Say "detail", YesNo(detail.ScanID = firstID) & " " & detail.DetectedFileCount & " " & _
    detail.DetectedRegistryCount & " " & _
    detail.DetectedCookieCount & " " & detail.GetTotalDetectedLocationsCount()
SayTable "detected threats", detail.DetectedThreats
SayTable "detected files", detail.DetectedFiles
SayTable "detected registry", detail.DetectedReg
SayTable "detected cookies", detail.DetectedCookies
Set detail = history.GetScanHistoryDetail(scan.ScanID)
SayTable "quarantined", detail.QuarantinedThreats
SayTable "deleted", detail.DeletedThreats
Say "unknown", YesNo(history.GetScanHistoryDetail("none") Is Nothing)
history.Truncate
Say "truncated", history.TotalScansRun()
history.Delete scan.ScanID
Say "deleted", history.TotalScansRun()

' ---- collections of the client's own
Dim file, found
scanner.InitializeScan
Set file = CreateObject("kelThreatEngine.ThreatLocationFile")
file.MD5 = "00"
file.DetectedFilePath = "C:\own.exe"
Set found = CreateObject("kelThreatEngine.DetectedThreat")
found.ThreatID = 9008
found.ThreatLocationFiles.Add file, "own"
Say "own", found.ThreatLocationFiles.Count & " " & found.ThreatLocationFiles("OWN").DetectedFilePath
found.ThreatLocationFiles.Remove "own"
Say "own", found.ThreatLocationFiles.Count

WScript.Echo "end of the road"
WScript.Quit 7
