' Lists the scans that were made, or what one of them found and what became of it.
'
'   cscript //nologo history.vbs DATA-FOLDER [SCAN]
'
' SCAN is the identifier of a scan, or "last". Exit code: 0 done, 1 there is no such scan, 64 wrong arguments, 69 the
' engine is not registered.
Option Explicit

Dim arguments, engine, scanner, history
Set arguments = WScript.Arguments
If arguments.Count < 1 Or arguments.Count > 2 Then
    WScript.Echo "usage: history.vbs DATA-FOLDER [SCAN]"
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
Set history = engine.ScanHistory

Sub List(scans)
    Dim found
    Do Until scans.EOF
        found = scans("DetectedProcessCount") + scans("DetectedFileCount") + scans("DetectedRegistryCount") + _
            scans("DetectedCookieCount")
        WScript.Echo scans("ScanID") & "  " & scans("StartDate") & "  " & scans("ScannedFileCount") & " files, " & _
            found & " locations found " & scans("AbortReason")
        scans.MoveNext
    Loop
    WScript.Echo scans.RecordCount & " scans"
End Sub

' The numbers of the threats in a table.
Function Numbers(table, column)
    Set Numbers = CreateObject("Scripting.Dictionary")
    Do Until table.EOF
        Numbers(CStr(table(column))) = True
        table.MoveNext
    Loop
End Function

Sub Places(table, threat)
    If table.RecordCount > 0 Then table.MoveFirst
    Do Until table.EOF
        If table("DThreatID") = threat Then WScript.Echo "    " & table("FoundAt")
        table.MoveNext
    Loop
End Sub

Sub Show(scan)
    Dim quarantined, deleted, threats, threat, became
    Set quarantined = Numbers(scan.QuarantinedThreats, "QThreatID")
    Set deleted = Numbers(scan.DeletedThreats, "DThreatID")
    WScript.Echo scan.ScanID & "  " & scan.StartDate & "  " & scan.TotalScanTime & " " & scan.AbortReason
    Set threats = scan.DetectedThreats
    Do Until threats.EOF
        threat = threats("DThreatID")
        became = "left alone"
        If quarantined.Exists(CStr(threat)) Then became = "quarantined"
        If deleted.Exists(CStr(threat)) Then became = "deleted"
        WScript.Echo "  " & threats("Name") & ", " & threats("Category") & ": " & became
        Places scan.DetectedFiles, threat
        Places scan.DetectedReg, threat
        Places scan.DetectedCookies, threat
        threats.MoveNext
    Loop
End Sub

Dim id, detail
If arguments.Count = 1 Then
    List history.GetScanHistoryDetails
    WScript.Quit 0
End If
id = arguments(1)
If id = "last" Then id = history.GetLastScanID
Set detail = history.GetScanHistoryDetail(id)
If detail Is Nothing Then
    WScript.Echo "there is no scan " & arguments(1)
    WScript.Quit 1
End If
Show detail
WScript.Quit 0
