<#
.SYNOPSIS
Scans folders and puts what it finds into the quarantine.
.DESCRIPTION
Exit code: 0 nothing is left, 1 a threat could not be removed, 3 the machine has to be started again to finish, 69 the
engine is not registered.
.EXAMPLE
powershell -File scan-and-quarantine.ps1 -DataFolder C:\ProgramData\Scans C:\Users D:\
#>
param(
    [Parameter(Mandatory = $true)] [string] $DataFolder,
    [Parameter(Mandatory = $true, ValueFromRemainingArguments = $true)] [string[]] $Folder
)
$ErrorActionPreference = 'Stop'

try {
    $engine = New-Object -ComObject kelThreatEngine.Manager
} catch {
    'The engine is not registered: kelThreatEngine.exe /RegServer does that.'
    exit 69
}
[void] $engine.Inititalize()
$scanner = $engine.Scanner
$scanner.UserDataRootPath = $DataFolder
[void] $scanner.InitializeScan()
$scanner.OptScanDepth = 3    # scandeep
$scanner.DoDriveScan = $true
$scanner.optWriteHistory = $true
foreach ($path in $Folder) {
    $scanner.AddScanDriveAndPath($path)
}
[void] $scanner.RunScanEasy()
$scan = $scanner.Scan

$cleaner = $engine.Cleaner
[void] $cleaner.InitializeClean($scan.ScanID, $scan.DetectedThreats)
$cleaner.EnableLog = $true
$failed = 0
foreach ($threat in $scan.DetectedThreats) {
    $id = ''
    $outcome = $cleaner.QuarantineThreat($threat.ThreatID, $false, [ref] $id)
    if ($outcome -eq 0) {
        "removed $($threat.Threat.ThreatName), quarantine $id"
    } else {
        "not removed $($threat.Threat.ThreatName), error $outcome"
        $failed++
    }
}
$cleaner.UninitializeClean()
$engine.ScanHistory.Persist()

"$($scan.DetectedThreatCount) threats, $failed not removed"
if ($failed -gt 0) {
    exit 1
}
if ($cleaner.IsRebootRequired) {
    'The rest is removed at the next start of the machine.'
    exit 3
}
exit 0
